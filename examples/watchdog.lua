-- A watchdog: it barks when nothing has been heard for 0.4 s.
local dog = timer { Name = "watchdog", StartDelay = 0.4, TimerFcn = function(t) print(t.Name .. ": nothing heard") end }

local function heard()
  dog:stop()
  dog:start()
end

-- What is watched gives a sign of life three times, and then no more.
heard()
every(0.1, function(t)
  print("sign of life " .. t.TasksExecuted)
  heard()
end, 3)
