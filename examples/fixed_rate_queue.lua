-- A fixed rate whose callback is too slow, busy mode Queue: every run is due at its time, and waits for its turn.
package.path = arg[0]:match("^(.-)[^/\\]*$") .. "lib/?.lua;" .. package.path
local tableOfRuns = require("table_of_runs")

local settings = { ExecutionMode = "FixedRate", BusyMode = "Queue", Period = 0.1, TasksToExecute = 4 }
tableOfRuns("FixedRate, Queue", settings, 0.25, function(run) return run.due + settings.Period end)
