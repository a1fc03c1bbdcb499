-- Tries until it succeeds: the first time at once, and each further time after twice as long.
local asked = 0
local function ask()
  asked = asked + 1
  return asked == 4 and "42" or error("no answer", 0)
end

local function try(pauseAfter)
  local ok, result = pcall(ask)
  if ok then
    print("the answer is " .. result)
  else
    print(result .. "; again in " .. pauseAfter .. " s")
    after(pauseAfter, function() try(2 * pauseAfter) end)
  end
end

try(0.05)
