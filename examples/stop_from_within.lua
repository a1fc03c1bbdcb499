-- A timer that stops itself: its callback decides, and wait tells how the run ended.
local t = every(0.02, function(t)
  print("run " .. t.TasksExecuted)
  if t.TasksExecuted == 3 then t:stop() end
end)

print(t:wait())
