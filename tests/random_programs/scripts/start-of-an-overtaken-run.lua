-- A run that has been overtaken runs until its callback has: no start is refused of a timer that says it does not run.
new("a", "", { ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.001, TasksToExecute = 3 })
start("a")
busy(4)
start("a")
