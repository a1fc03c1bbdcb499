-- Timers whose callback counts. Prints how many callbacks there were, their processor time and the time that passed.
-- Arguments: how many timers, their period, for how long, and for how long before, in seconds. All timers are due
-- in the same millisecond at first: in how many they are due is how many wake-ups they cost.
local timers, period, seconds, before = tonumber(arg[1]), tonumber(arg[2]), tonumber(arg[3]), tonumber(arg[4] or 0)

local count = 0
local function tick()
  count = count + 1
end

-- Due times are whole milliseconds of the steady clock, counted from the one in which a timer is started. What is
-- due tells where they begin.
local probe = timer { StartDelay = 3600, TimerFcn = tick }
probe:start()
local phase = 1000 * (now() + probe.Remaining) % 1
probe:stop()

local function millisecondInItsMiddle()
  local milliseconds
  repeat
    milliseconds = 1000 * now() - phase
  until milliseconds % 1 > 0.1 and milliseconds % 1 < 0.8
  return milliseconds // 1
end

local first = millisecondInItsMiddle() + 50 + timers // 25
for _ = 1, timers do
  timer {
    ExecutionMode = "FixedRate", BusyMode = "Queue", Period = period, TimerFcn = tick,
    StartDelay = math.max(first - millisecondInItsMiddle(), 1) / 1000,
  }:start()
end
pause((first + phase) / 1000 - now() + 2.5 * period + before)

local counted, cpu, begin = count, os.clock(), now()
pause(seconds)
print(count - counted, os.clock() - cpu, now() - begin)
os.exit(0)
