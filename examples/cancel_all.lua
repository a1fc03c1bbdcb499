-- Ctrl-C stops every timer in order: each StopFcn runs, and is told why.
for _, name in ipairs { "one", "two", "three" } do
  timer {
    Name = name,
    StartDelay = 3600,
    TimerFcn = function() print("an hour later") end,
    StopFcn = function(t, event) print(t.Name .. ": " .. event.Reason) end,
  }:start()
end

print("press Ctrl-C")
