-- A fixed spacing: each run is due one period after the one before it has ended.
package.path = arg[0]:match("^(.-)[^/\\]*$") .. "lib/?.lua;" .. package.path
local tableOfRuns = require("table_of_runs")

local settings = { ExecutionMode = "FixedSpacing", Period = 0.2, TasksToExecute = 4 }
tableOfRuns("FixedSpacing", settings, 0.05, function(run) return run.finish + settings.Period end)
