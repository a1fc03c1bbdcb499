-- The tour: a timer that fires once, after a start delay. Its StartFcn runs at once, its StopFcn at the end.
local begin = now()

local function say(...)
  print(string.format("%.3f s  %s", now() - begin, table.concat({ ... }, " ")))
end

local t = timer {
  Name = "tour",
  StartDelay = 0.2,
  StartFcn = function(t, event) say(event.Type, "of", t.Name) end,
  TimerFcn = function(t, event) say(event.Type .. ",", "run", t.TasksExecuted) end,
  StopFcn = function(_, event) say(event.Type) end,
  ErrorFcn = function(_, event) say(event.Type) end,
}

t:start()
say("start returned")
say("wait returned", tostring(t:wait()) .. ";", "the timer has run", t.TasksExecuted, "time")
