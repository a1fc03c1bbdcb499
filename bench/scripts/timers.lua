-- Timers whose callback counts. Prints how many callbacks there were, their processor time and the time that passed.
-- Arguments: how many timers, their period, for how long, and for how long before, in seconds.
local timers, period, seconds, before = tonumber(arg[1]), tonumber(arg[2]), tonumber(arg[3]), tonumber(arg[4] or 0)

local count = 0
local function tick()
  count = count + 1
end

for _ = 1, timers do
  timer {
    ExecutionMode = "FixedRate", BusyMode = "Queue", Period = period, StartDelay = period, TimerFcn = tick,
  }:start()
end
pause(2 * period + 0.05 + before)

local counted, cpu, begin = count, os.clock(), now()
pause(seconds)
print(count - counted, os.clock() - cpu, now() - begin)
os.exit(0)
