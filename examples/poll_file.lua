-- Polls a file, and tells each time that it has changed, until it says that all is done.
local path = "polled.txt"

local known
local function poll(t)
  local file <close> = io.open(path)
  local text = file and file:read("a")
  if text ~= known then
    known = text
    print("now it holds: " .. text)
  end
  if text == "done" then t:stop() end
end

-- Somebody else's work:
for place, text in ipairs { "begun", "half of it", "done" } do
  after(0.2 * place, function()
    local file <close> = assert(io.open(path, "w"))
    file:write(text)
  end)
end

timer { ExecutionMode = "FixedDelay", Period = 0.02, TimerFcn = poll, StopFcn = function() os.remove(path) end }:start()
