-- A fixed rate whose callback is too slow, busy mode Error: the run ends with its StopFcn and its ErrorFcn.
package.path = arg[0]:match("^(.-)[^/\\]*$") .. "lib/?.lua;" .. package.path
local tableOfRuns = require("table_of_runs")

local settings = { ExecutionMode = "FixedRate", BusyMode = "Error", Period = 0.1, TasksToExecute = 4 }
tableOfRuns("FixedRate, Error", settings, 0.25, function(run) return run.due + settings.Period end)
