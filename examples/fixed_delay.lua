-- A fixed delay: each run is due one period after the one before it has started.
package.path = arg[0]:match("^(.-)[^/\\]*$") .. "lib/?.lua;" .. package.path
local tableOfRuns = require("table_of_runs")

local settings = { ExecutionMode = "FixedDelay", Period = 0.2, TasksToExecute = 4 }
tableOfRuns("FixedDelay", settings, 0.05, function(run) return run.start + settings.Period end)
