-- A heartbeat: StartFcn at once, one TimerFcn after the start delay, then StopFcn.
local t0 = now()

local function say(text)
  print(string.format("%.3f s  %s", now() - t0, text))
end

local t = timer {
  Name = "tour",
  StartDelay = 0.2,
  StartFcn = function(obj, event) say(event.Type .. " of " .. obj.Name) end,
  TimerFcn = function(obj, event) say(event.Type .. ", run " .. obj.TasksExecuted) end,
  StopFcn = function(_, event) say(event.Type) end,
  ErrorFcn = function(_, event) say(event.Type) end,
}

t:start()
say("started")
say("wait returned " .. tostring(t:wait()))
say("TasksExecuted is " .. t.TasksExecuted)
