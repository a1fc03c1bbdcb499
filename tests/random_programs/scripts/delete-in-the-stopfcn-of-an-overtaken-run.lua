-- A run that has been overtaken owes its ErrorFcn after its StopFcn: a deletion in between runs it.
new("a", "StopFcn ErrorFcn", { ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.001, TasksToExecute = 3 })
during("a", "TimerFcn", 1, function() busy(4) end)
during("a", "StopFcn", 1, function() delete("a") end)
start("a")
