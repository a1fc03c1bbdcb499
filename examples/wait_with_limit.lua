-- Waiting for a timer: with a limit that is too short, then without one. Callbacks run while the script waits.
local begin = now()

local function say(text)
  print(string.format("%.3f s  %s", now() - begin, text))
end

local t = timer {
  StartDelay = 0.3,
  TimerFcn = function() say("TimerFcn") end,
}

t:start()
local ended = t:wait(0.1)
say("wait(0.1) returned " .. tostring(ended) .. ", the timer runs: " .. tostring(t.Running))
ended = t:wait()
say("wait() returned " .. tostring(ended) .. ", the timer runs: " .. tostring(t.Running))
