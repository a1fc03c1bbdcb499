-- One timer produces, another consumes at its own pace, until nothing is left.
local queue = {}

local producer = every(0.02, function(t) table.insert(queue, "piece " .. t.TasksExecuted) end, 5)

timer {
  ExecutionMode = "FixedSpacing", Period = 0.05,
  TimerFcn = function(t)
    local piece = table.remove(queue, 1)
    if piece then
      print("consumed " .. piece)
    elseif not producer.Running then
      t:stop()
    end
  end,
  StopFcn = function() print("nothing is left") end,
}:start()
