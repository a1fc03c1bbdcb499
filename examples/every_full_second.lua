-- Every full second by the wall clock, three times. A table without a field means each second that there is.
every({}, function() print(os.date("%H:%M:%S", date() // 1)) end, 3)
