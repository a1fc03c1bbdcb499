-- A timer that is stopped before it fires: its StopFcn runs, its TimerFcn does not.
local begin = now()

local function say(text)
  print(string.format("%.3f s  %s", now() - begin, text))
end

local t = timer {
  StartDelay = 3600,
  StartFcn = function() say("StartFcn") end,
  TimerFcn = function() say("TimerFcn") end,
  StopFcn = function(t) say("StopFcn; TimerFcn has run " .. t.TasksExecuted .. " times") end,
}

t:start()
pause(0.1)
t:stop()
say("stop returned")
t:wait()
