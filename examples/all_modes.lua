-- All modes beside each other: period 0.1 s, a callback of 0.15 s, four runs. One timer after the other, so that none
-- waits for another's callback.
local period, callbackSeconds, runs = 0.1, 0.15, 4

local function startsOf(mode, busyMode)
  local begin
  local starts = {}
  local t = timer {
    ExecutionMode = mode, BusyMode = busyMode, Period = period, TasksToExecute = runs,
    TimerFcn = function()
      starts[#starts + 1] = string.format("%5.2f", now() - begin)
      busy(callbackSeconds)
    end,
  }
  begin = now()
  t:start()
  t:wait()
  return starts
end

local function row(title, cells)
  print(string.format("%-18s | %s", title, table.concat(cells, "  ")))
end

print(string.format("Period %.2f s, callback %.2f s: when the runs started, in seconds", period, callbackSeconds))
row("SingleShot", startsOf("SingleShot"))
row("FixedSpacing", startsOf("FixedSpacing"))
row("FixedDelay", startsOf("FixedDelay"))
row("FixedRate, Drop", startsOf("FixedRate", "Drop"))
row("FixedRate, Queue", startsOf("FixedRate", "Queue"))
row("FixedRate, Error", startsOf("FixedRate", "Error"))
