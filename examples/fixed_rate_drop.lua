-- A fixed rate whose callback is too slow, busy mode Drop: what falls due meanwhile is dropped, and the timer fires
-- again as soon as the callback has ended.
package.path = arg[0]:match("^(.-)[^/\\]*$") .. "lib/?.lua;" .. package.path
local tableOfRuns = require("table_of_runs")

local settings = { ExecutionMode = "FixedRate", BusyMode = "Drop", Period = 0.1, TasksToExecute = 4 }
tableOfRuns("FixedRate, Drop", settings, 0.25, function(run)
  return math.max(run.start + settings.Period, run.finish)
end)
