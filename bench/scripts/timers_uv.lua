-- The same on libuv. Prints how many callbacks there were, their processor time and the time that passed.
-- Arguments: how many timers, their period and for how long, in seconds.
local uv = require "luv"
local timers, period, seconds = tonumber(arg[1]), tonumber(arg[2]), tonumber(arg[3])

local count = 0
local function tick()
  count = count + 1
end

local function milliseconds(time)
  return math.floor(1000 * time + 0.5)
end

for _ = 1, timers do
  uv.timer_start(uv.new_timer(), milliseconds(period), milliseconds(period), tick)
end

uv.timer_start(uv.new_timer(), milliseconds(2 * period + 0.05), 0, function()
  local counted, cpu, begin = count, os.clock(), uv.hrtime()
  uv.timer_start(uv.new_timer(), milliseconds(seconds), 0, function()
    print(count - counted, os.clock() - cpu, (uv.hrtime() - begin) / 1e9)
    os.exit(0)
  end)
end)
uv.run()
