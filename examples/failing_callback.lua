-- A callback that fails: the error is reported with a traceback, ErrorFcn and StopFcn run, the exit status is 1.
local t = timer {
  Name = "reader",
  TimerFcn = function()
    print("TimerFcn opens a file that does not exist")
    local file = assert(io.open("no such file"))
    file:close()
  end,
  ErrorFcn = function(t) print("ErrorFcn runs, the timer still runs: " .. tostring(t.Running)) end,
  StopFcn = function(t) print("StopFcn runs, the timer still runs: " .. tostring(t.Running)) end,
}

t:start()
t:wait()
