-- Reminders: single shots, of which one is taken back.
local function remind(seconds, text)
  return after(seconds, function() print(text) end)
end

remind(0.3, "take the bread out")
remind(0.1, "drink the tea")
local call = remind(0.2, "call back")

print("taken back: " .. tostring(call:stop()))
