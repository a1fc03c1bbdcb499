-- What hosts in other languages do as well, told the same way: scenarios.txt has the output that all of them give.
local function scenario(name, settings, act)
  local busySeconds, body = settings.busy or 0, settings.body or function() end
  settings.busy, settings.body = nil, nil
  settings.Name = "beat"
  settings.Period = settings.Period or 0.05
  settings.StartFcn = settings.StartFcn or function() print("  StartFcn") end
  settings.TimerFcn = function(t)
    print("  TimerFcn " .. t.TasksExecuted)
    busy(busySeconds)
    body(t)
  end
  settings.StopFcn = function(_, event) print("  StopFcn: " .. event.Reason) end
  settings.ErrorFcn = function(_, event) print("  ErrorFcn: " .. event.Error) end
  print(name)
  local t = timer(settings)
  t:start();
  (act or t.wait)(t)
end

scenario("single shot", { StartDelay = 0.02 })
scenario("fixed rate, drop", { ExecutionMode = "FixedRate", TasksToExecute = 4, busy = 0.12 })
scenario("fixed rate, queue", { ExecutionMode = "FixedRate", BusyMode = "Queue", TasksToExecute = 4, busy = 0.12 })
scenario("fixed rate, error", { ExecutionMode = "FixedRate", BusyMode = "Error", TasksToExecute = 4, busy = 0.12 })
scenario("fixed delay", { ExecutionMode = "FixedDelay", TasksToExecute = 3, busy = 0.02 })
scenario("fixed spacing", { ExecutionMode = "FixedSpacing", TasksToExecute = 3, busy = 0.02 })
scenario("stop from within", {
  ExecutionMode = "FixedDelay",
  body = function(t)
    if t.TasksExecuted == 3 then t:stop() end
  end,
})
scenario("failing callback", {
  ExecutionMode = "FixedRate",
  body = function(t)
    if t.TasksExecuted == 2 then error("no such file", 0) end
  end,
})
scenario("failing StartFcn", {
  StartFcn = function()
    print("  StartFcn")
    error("not ready", 0)
  end,
})
scenario("stop before firing", { StartDelay = 3600 }, function(t)
  pause(0.02)
  t:stop()
  t:wait()
end)
scenario("wait with a limit", { StartDelay = 0.2 }, function(t)
  print("  ended: " .. tostring(t:wait(0.02)))
  print("  ended: " .. tostring(t:wait()))
end)
scenario("two runs", {}, function(t)
  t:wait()
  t:start()
  t:wait()
end)
scenario("deleted while it runs", { StartDelay = 3600 }, function(t) t:delete() end)
scenario("deleted from within", { ExecutionMode = "FixedRate", body = function(t) t:delete() end })
