-- A callback that waits as Drop becomes Queue is not lost.
new("c", "StartFcn", { ExecutionMode = "FixedRate", BusyMode = "Drop", Period = 0.003, TasksToExecute = 2 })
start("c")
busy(8)
sleep(0)
set("c", "BusyMode", "Queue")
