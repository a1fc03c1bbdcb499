-- Runs a periodic timer whose callback takes its time, and prints when each run was due, started and ended.

-- dueAfter(run): when the next run is due, by what is known of this one: { due, start, end }.
return function(title, settings, callbackSeconds, dueAfter)
  print(string.format("%s: period %.2f s, callback %.2f s", title, settings.Period, callbackSeconds))
  print("run     due   start     end")

  local begin
  local due = 0
  local function elapsed() return now() - begin end

  settings.TimerFcn = function(t)
    local run = { due = due, start = elapsed() }
    busy(callbackSeconds) -- unlike pause, it lets nothing else run
    run.finish = elapsed()
    print(string.format("%3d %7.3f %7.3f %7.3f", t.TasksExecuted, run.due, run.start, run.finish))
    due = dueAfter(run)
  end
  settings.StopFcn = function() print(string.format("StopFcn at %.3f", elapsed())) end
  settings.ErrorFcn = function() print(string.format("ErrorFcn at %.3f", elapsed())) end

  local t = timer(settings)
  begin = now()
  t:start()
  t:wait()
end
