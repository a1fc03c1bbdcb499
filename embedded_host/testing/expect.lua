-- expect(value): what a test says of values. `host` has what this needs of the program:
--   show(value)               the value as people read it
--   difference(a, b)          the lines of both, those that differ marked with - and +; nil for values of one line
--   nearest(word, names)      the name that was meant, or nil
--   fail(text)                raises the text as an error at the line of the test file
local host = ...
local getmetatable, next, pcall, rawequal, rawget, select, setmetatable, tostring, type
    = getmetatable, next, pcall, rawequal, rawget, select, setmetatable, tostring, type
local concat, sort, find, gsub = table.concat, table.sort, string.find, string.gsub
local huge = math.huge

local function isNan(value)
  return type(value) == "number" and value ~= value
end

-- Some platforms show a sign of it, too.
local function show(value)
  return isNan(value) and "nan" or host.show(value)
end

local function isSame(a, b)
  return rawequal(a, b) or (isNan(a) and isNan(b))
end

-- `known`: for tables that are being compared already, the other one. So those within themselves are compared once.
local function isEqual(a, b, known)
  if isSame(a, b) or a == b then
    return true
  end
  if type(a) ~= "table" or type(b) ~= "table" then
    return false
  end
  if rawequal(known[a], b) then
    return true
  end
  known[a] = b
  for key, value in next, a do
    if not isEqual(value, rawget(b, key), known) then
      return false
    end
  end
  for key in next, b do
    if rawget(a, key) == nil then
      return false
    end
  end
  return true
end

local function misuse(name, text)
  host.fail(name .. ": " .. text)
end

local function requireValue(name, what, value, types)
  for _, wanted in next, types do
    if type(value) == wanted then
      return
    end
  end
  misuse(name, what .. " is " .. show(value) .. ", but must be a " .. concat(types, " or a "))
end

local function requireNumber(name, what, value, least)
  if type(value) ~= "number" or isNan(value) or value < least then
    misuse(name, what .. " is " .. show(value) .. ", but must be a number"
      .. (least > -huge and ", at least " .. tostring(least) or ""))
  end
end

-- Each: what it takes at least; and a function of the value and of that, which returns whether it holds and what is
-- expected, in words. It may add the actual value in words, where that is not the value itself, and a difference.
local comparisons = {}

function comparisons.toBe(_, actual, expected)
  local holds = isSame(actual, expected)
  local hint
  if not holds and type(actual) == "table" and isEqual(actual, expected, {}) then
    hint = show(actual) .. ", another table with the same in it; toEqual looks at what is in it"
  end
  return holds, show(expected), hint, not holds and not hint and host.difference(expected, actual)
end

function comparisons.toEqual(_, actual, expected)
  local holds = isEqual(actual, expected, {})
  return holds, show(expected), nil, not holds and host.difference(expected, actual)
end

function comparisons.toBeNear(name, actual, expected, tolerance)
  requireNumber(name, "the number", expected, -huge)
  requireNumber(name, "the tolerance", tolerance, 0)
  requireValue(name, "the value", actual, { "number" })
  local distance = actual - expected
  return actual == expected or (distance <= tolerance and -distance <= tolerance),
    show(expected) .. ", or at most " .. show(tolerance) .. " more or less"
end

function comparisons.toBeTrue(_, actual)
  return rawequal(actual, true), "true"
end

function comparisons.toBeFalse(_, actual)
  return rawequal(actual, false), "false"
end

function comparisons.toBeNil(_, actual)
  return rawequal(actual, nil), "nil"
end

function comparisons.toContain(name, actual, part)
  requireValue(name, "the value", actual, { "string", "table" })
  local expected = "something that contains " .. show(part)
  if type(actual) == "string" then
    requireValue(name, "the part", part, { "string" })
    return find(actual, part, 1, true) ~= nil, expected
  end
  for _, value in next, actual do
    if isEqual(value, part, {}) then
      return true, expected
    end
  end
  return false, expected
end

function comparisons.toHaveLength(name, actual, length)
  requireValue(name, "the value", actual, { "string", "table" })
  requireNumber(name, "the length", length, 0)
  return #actual == length, "the length " .. show(length),
    "the length " .. #actual .. " of " .. show(actual)
end

function comparisons.toMatch(name, actual, pattern)
  requireValue(name, "the value", actual, { "string" })
  requireValue(name, "the pattern", pattern, { "string" })
  local isPattern, found = pcall(find, actual, pattern)
  if not isPattern then
    misuse(name, "the pattern is " .. show(pattern) .. ": " .. tostring(found))
  end
  return found ~= nil, "a text that matches " .. show(pattern)
end

function comparisons.toThrow(name, actual, text)
  requireValue(name, "the value", actual, { "function" })
  requireValue(name, "the text", text, { "string", "nil" })
  local isSilent, raised = pcall(actual)
  local expected = "a function that raises an error" .. (text and " with " .. show(text) or "")
  if isSilent then
    return false, expected, "one that raises none"
  end
  return not text or find(tostring(raised), text, 1, true) ~= nil, expected, "one that raises " .. show(raised)
end

for name, order in next, {
  toBeLessThan = { "less than ", function(a, b) return a < b end },
  toBeGreaterThan = { "greater than ", function(a, b) return a > b end },
  toBeAtMost = { "at most ", function(a, b) return a <= b end },
  toBeAtLeast = { "at least ", function(a, b) return a >= b end },
} do
  comparisons[name] = function(_, actual, bound)
    requireNumber(name, "the bound", bound, -huge)
    requireValue(name, "the value", actual, { "number" })
    return order[2](actual, bound), "a number " .. order[1] .. show(bound)
  end
end

local takes = {
  toBe = 1, toEqual = 1, toBeNear = 2, toContain = 1, toHaveLength = 1, toMatch = 1,
  toBeLessThan = 1, toBeGreaterThan = 1, toBeAtMost = 1, toBeAtLeast = 1,
}

-- A value of several lines goes on behind the word in front of it.
local function row(word, text)
  return "\n    " .. word .. gsub(text, "\n", "\n              ")
end

local Expectation = {}

local function judge(self, name, holds, expected, actual, difference)
  if holds ~= self.isNever then
    return
  end
  local text = (self.isNever and "never:" or "") .. name .. " does not hold"
  if difference and not self.isNever then
    host.fail(text .. "; - is expected, + is there\n" .. difference)
  end
  host.fail(text .. row("expected: ", (self.isNever and "not " or "") .. expected)
    .. row("actual:   ", actual or show(self.value)))
end

local methods = {}
for name, compare in next, comparisons do
  methods[name] = function(self, ...)
    if getmetatable(self) ~= Expectation then
      misuse(name, "stands behind a colon: expect(value):" .. name)
    end
    if select("#", ...) < (takes[name] or 0) then
      misuse(name, "takes " .. (takes[name] == 1 and "a value" or takes[name] .. " values") .. " to compare with")
    end
    judge(self, name, compare(name, self.value, ...))
  end
end

local names = { "never" }
for name in next, methods do
  names[#names + 1] = name
end
sort(names)

function Expectation.__index(self, key)
  if key == "never" then
    return setmetatable({ value = rawget(self, "value"), isNever = not rawget(self, "isNever") }, Expectation)
  end
  if key == "value" then
    return nil
  end
  local nearest = type(key) == "string" and host.nearest(key, names)
  return methods[key] or host.fail("expect has no " .. show(key) .. "; "
    .. (nearest and "did you mean " .. nearest .. "? There are " or "there are ") .. concat(names, ", "))
end

return function(value)
  return setmetatable({ value = value, isNever = false }, Expectation)
end
