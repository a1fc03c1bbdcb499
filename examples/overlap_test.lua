-- Tests of a beat whose callback takes longer than its period: what overlaps, what is dropped, and a race.
--
--   tovrin test examples/overlap_test.lua              all is well
--   tovrin test --seeds 20 examples/overlap_test.lua   finds the race

-- Four runs, a second apart, of a callback that takes this long. Returns the timer, and when the runs started.
local function beat(busyMode, work)
  local starts = {}
  local t = timer {
    Name = "beat",
    ExecutionMode = "FixedRate",
    BusyMode = busyMode,
    Period = 1,
    TasksToExecute = 4,
    TimerFcn = function()
      table.insert(starts, clock.now())
      pause(work)
    end,
  }
  t:start()
  t:wait()
  return t, starts
end

test("Drop: what falls due meanwhile is dropped", function()
  local t, starts = beat("Drop", 2.25)
  expect(starts):toEqual { 0.0, 2.25, 4.5, 6.75 }
  expect(t:statistics().Drops):toBeGreaterThan(0)
end)

test("Queue: each run waits for its turn", function()
  local t, starts = beat("Queue", 2.25)
  expect(starts):toEqual { 0.0, 2.25, 4.5, 6.75 }
  expect(t:statistics().Drops):toBe(0)
end)

test("Error: a run that falls due meanwhile ends the timer", function()
  local _, starts = beat("Error", 2.25)
  expect(starts):toEqual { 0.0 }
  expectError("still running when its next run fell due")
end)

test("callbacks of two timers overlap where one of them pauses", function()
  local order = {}
  local function say(what) table.insert(order, what) end
  after(1, function() say("a begins") pause(5) say("a ends") end)
  after(2, function() say("b") end)
  clock.advance(10)
  expect(order):toEqual { "a begins", "b", "a ends" }
end)

-- Wrong, though it passes: the callback ends at the very moment at which its next run falls due. Which of the two is
-- first, nobody promises.
test("Error: a callback that is just in time", function()
  local _, starts = beat("Error", 1)
  expect(starts):toHaveLength(4)
end)
