-- Several timers work side by side; when the last one is done, one report tells of all.
local function work(t)
  if t.Name == "b" then error("b is out of order", 0) end
end

local workers = {}
for place, name in ipairs { "a", "b", "c" } do
  workers[place] = timer {
    Name = name, Tag = "worker", ExecutionMode = "FixedRate", Period = 0.02 * place, TasksToExecute = 3,
    TimerFcn = function(t) local ok, why = pcall(work, t) t.UserData = ok and "fine" or why end,
  }:start()
end

wait(table.unpack(workers))
for _, t in ipairs(timers { Tag = "worker" }) do
  print(t.Name, t.TasksExecuted .. " runs", t.UserData)
end
