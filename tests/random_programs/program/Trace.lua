-- What a random program is made of. Each callback and each action writes a line as it begins and one as it ends, with
-- what the timer tells of itself at that moment; the model reads these lines and the program's reports.
--
--   @seconds|new|timer|mode|busy mode|period|start delay|tasks|callbacks
--   @seconds|made|timer|mode|busy mode|period|start delay|tasks|callbacks|when it was called|Running|TasksExecuted|LastError
--   @seconds|begin|timer|callback|Running|TasksExecuted|LastError
--   @seconds|told|timer|callback|the reason of a StopFcn, or what an ErrorFcn is called for
--   @seconds|end|timer|callback|error|Running|TasksExecuted|LastError
--   @seconds|call|verb|timer|argument|Running|TasksExecuted|LastError
--   @seconds|done|verb|timer|result|Running|TasksExecuted|LastError
--   @seconds|failed|verb|timer|error|Running|TasksExecuted|LastError
--   @seconds|raise|error
--   @seconds|exit|code
--   @seconds|over
--   @seconds|ending
io.stdout:setvbuf("line")

local mostStarts = 12 -- of all timers together
local mostTimerFcns = 10 -- of one timer, before it stops itself

local mostShortForms = 6

local waitForAll, waitForAny, listed = wait, waitAny, timers

-- The timers that short forms have made are held by nobody.
local timers, held, settings, bodies, counts = setmetatable({}, { __mode = "v" }), {}, {}, {}, {}
local starts, errors, shortForms = 0, 0, 0
local isOver, isEnding = false, false

local function line(...)
  local fields = table.pack(...)
  for i = 1, fields.n do fields[i] = tostring(fields[i]) end
  io.write(string.format("@%.6f|", now()), table.concat(fields, "|"), "\n")
end

local function state(name)
  local t = timers[name]
  if not t then return "-", "-", "-" end
  local isLive, running = pcall(function() return t.Running end)
  if not isLive then
    running = running:find("has been deleted", 1, true) and "deleted" or running
    return running, "-", "-"
  end
  local remaining = t.Remaining
  if remaining and (remaining < 0 or not running) then return "wrong Remaining", t.TasksExecuted, t.LastError end
  if find(name) ~= t then return "not found", t.TasksExecuted, t.LastError end
  if listed { Name = name }[1] ~= t or t:properties().Name ~= name then return "not listed", t.TasksExecuted, t.LastError end
  for property, value in pairs(t) do
    if property == "Name" and value ~= name then return "another name", t.TasksExecuted, t.LastError end
  end
  return running, t.TasksExecuted, t.LastError
end

-- Once the script is over, it shows in no other way that no run begins any more.
local probe = timer { KeepsAlive = false, StartDelay = 3600, TimerFcn = print }
local function noteEnding()
  if isOver and not isEnding then
    isEnding = not probe:start().Running
    probe:stop()
    if isEnding then line("ending") end
  end
end

local function act(verb, name, argument, action)
  line("call", verb, name, argument, state(name))
  local isDone, result = pcall(action, timers[name])
  line(isDone and "done" or "failed", verb, name, result, state(name))
end

local function callback(name, kind)
  local key = name .. "." .. kind
  return function(t, event)
    counts[key] = (counts[key] or 0) + 1
    local count = counts[key]
    noteEnding()
    line("begin", name, kind, state(name))
    if kind == "StopFcn" then line("told", name, kind, event.Reason) end
    if kind == "ErrorFcn" then line("told", name, kind, event.Callback .. ": " .. event.Error) end
    local isDone, text = pcall(function()
      assert(t == timers[name] and event.Type == kind)
      if kind == "TimerFcn" and count >= mostTimerFcns then stop(name) end
      for _, body in ipairs(bodies[key] or {}) do
        if body.number == count or body.number == 0 then body.action() end
      end
    end)
    line("end", name, kind, isDone and "" or text, state(name))
    if not isDone then error(text, 0) end
  end
end

-- Makes a timer. `callbacks` names those that it has, besides its TimerFcn.
function new(name, callbacks, properties)
  local all = { Name = name, TimerFcn = callback(name, "TimerFcn") }
  for kind in callbacks:gmatch("%a+") do all[kind] = callback(name, kind) end
  for property, value in pairs(properties) do all[property] = value end
  settings[name] = { callbacks, properties }
  timers[name] = timer(all)
  local t = timers[name]
  held[name] = t
  line("new", name, t.ExecutionMode, t.BusyMode, t.Period, t.StartDelay, t.TasksToExecute, callbacks)
end

-- What the callback does each time (0), or only the time of that number.
function during(name, kind, number, action)
  local key = name .. "." .. kind
  bodies[key] = bodies[key] or {}
  table.insert(bodies[key], { number = number, action = action })
end

function start(name)
  if starts < mostStarts then
    starts = starts + 1
    act("start", name, "", function(t) assert(t:start() == t) end)
  end
end

-- A timer that `make(f)` makes and starts; after `delay` seconds, if that is not its StartDelay.
local function short(make, delay)
  if shortForms == mostShortForms then return end
  shortForms = shortForms + 1
  local called = now()
  local t = make(function(t, event) callback(t.Name, "TimerFcn")(t, event) end)
  timers[t.Name] = t
  line("made", t.Name, t.ExecutionMode, t.BusyMode, t.Period, delay or t.StartDelay, t.TasksToExecute, "",
    string.format("%.6f", called), state(t.Name))
end

function once(milliseconds) short(function(f) return after(milliseconds / 1000, f) end) end
function appoint(milliseconds)
  local seconds = milliseconds / 1000
  short(function(f)
    local t = timer { TimerFcn = f }
    t:startAt(date() + seconds)
    return t
  end, seconds)
end
function onTheSecond()
  short(function(f) return every({}, f, 1) end, nextTime {} - date())
end
function often(milliseconds, number) short(function(f) return every(milliseconds / 1000, f, number) end) end

function stop(name) act("stop", name, "", function(t) return t:stop() end) end
function delete(name) act("delete", name, "", function(t) t:delete() end) end

function wait(name, milliseconds)
  local seconds = milliseconds and milliseconds / 1000
  act("wait", name, seconds or "", function(t)
    local isQuiet, reason = t:wait(seconds)
    return isQuiet and "true " .. tostring(reason) or isQuiet
  end)
end

-- For two timers, until both are quiet, or one.
local function several(verb, first, second, milliseconds, action)
  local seconds = milliseconds and milliseconds / 1000
  act(verb, "-", first .. " " .. second .. " " .. (seconds or ""), function()
    return action(held[first], held[second], seconds)
  end)
end

function waitBoth(first, second, milliseconds) several("waitAll", first, second, milliseconds, waitForAll) end

function waitEither(first, second, milliseconds)
  several("waitAny", first, second, milliseconds, function(...)
    local t = waitForAny(...)
    return t == held[first] and first or t == held[second] and second or t
  end)
end

function sleep(milliseconds)
  act("pause", "-", milliseconds / 1000, function() pause(milliseconds / 1000) end)
end

function busy(milliseconds)
  local finish = now() + milliseconds / 1000
  while now() < finish do end
end

function set(name, property, value)
  act("set", name, property .. "=" .. tostring(value), function(t) t[property] = value end)
end

function assign(name, kind)
  act("set", name, kind .. "=function", function(t) t[kind] = callback(name, kind) end)
end

function raise()
  errors = errors + 1
  line("raise", "boom " .. errors)
  error("boom " .. errors, 0)
end

function caught() pcall(error, "caught", 0) end

function exit(code)
  line("exit", code)
  os.exit(code)
end

function collect() collectgarbage() end

-- A finalizer that looks at the timer.
function haunt(name)
  setmetatable({ timers[name] }, { __gc = function(held) tostring(held[1]) end })
end

function inCoroutine(action) coroutine.wrap(action)() end

function over()
  line("over")
  isOver = true
end
