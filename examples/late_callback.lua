-- Why is a callback late? The records tell when it was due and when it was handed over; when it begins it writes itself,
-- out of the time of its event. tovrin run --log tovrintimer::TimerScheduler=4 late_callback.lua [EXECUTION MODE]
local function begins(t, event)
  local second = math.floor(event.Time)
  local microsecond = math.floor((event.Time - second) * 1e6)
  -- In one piece: records may be written meanwhile.
  io.stderr:write(string.format("%s.%06d %s begins\n", os.date("%Y-%m-%d %H:%M:%S", second), microsecond, t.Name))
end

-- Keeps the interpreter from the other one for 0.1 s.
local hog = timer {
  Name = "hog", StartDelay = 0.15,
  TimerFcn = function(t, event)
    begins(t, event)
    busy(0.1)
  end,
}
local beat = timer {
  Name = "beat", ExecutionMode = arg[1] or "FixedRate", StartDelay = 0.2, Period = 0.2, TasksToExecute = 2,
  TimerFcn = begins,
}

hog:start()
beat:start()
