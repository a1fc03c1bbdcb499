-- Every day at 6:30 in local time: once a day, also where summer time begins or ends, and though the clock is set.
local t = every({ hour = 6, minute = 30 }, function() print("good morning") end)

-- Here it is not waited for.
print(os.date("the next time is at %H:%M:%S", t.NextTime), "within a day: " .. tostring(t.Remaining <= 25 * 3600))
t:stop()
