-- Guards client callbacks: their errors, how many there can be, and how long they live.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local module = assert(host.load())
local drawing = host.open("drawing")

local function attach(client) check.equal(module.kzdxDocTimerAttach(drawing, client, 0, 1), 1) end
local function detach(client) check.equal(module.kzdxDocTimerAttach(drawing, client, 0, 0), 1) end

-- The first error is kept until the module has returned: the others are called, and pump raises it.
do
  local log = check.log()
  local function fail(number) return function() error("client " .. number .. " fails") end end
  local clients = log:clients(3, {[1] = fail(1), [3] = fail(3)})
  for _, client in ipairs(clients) do attach(client) end
  check.raises("client 1 fails", host.idle)
  check.equal(log:take(), {1, 2, 3})
  for _, client in ipairs(clients) do detach(client) end
  check.equal({host.idle()}, {1, 1}, "what was raised is forgotten")
end

-- An error that a client's own call leads to is raised inside that client, and no earlier one of another client.
do
  local inner
  local watched = drawing:block("Watched")
  local failing = host.client(function() error({reason = "a table"}) end)
  local outer = host.client(function()
    watched:touch()
    drawing:modelSpace():insert(watched)
    local ok, message = pcall(module.kzdxUpdateBlockGraph, drawing, true, true)
    inner = {ok, message.reason}
  end)
  check.equal(module.kzdxBlockReferenceMonitorAttach(drawing, {watched}, failing), 1)
  attach(outer)
  host.idle()
  check.equal(inner, {false, "a table"})
  detach(outer)
  module.kzdxBlockReferenceMonitorDetach(drawing, failing)
end

-- One that is detached makes room again, and so do those of closed documents.
do
  local watched = drawing:block("Watched by many")
  for _ = 1, 3000 do
    local client = host.client(print)
    attach(client)
    module.kzdxBlockReferenceMonitorAttach(drawing, {watched}, client)
    module.kzdxBlockReferenceMonitorDetach(drawing, client)
    detach(client)
  end
  for _ = 1, 3000 do
    local brief = host.open("brief")
    module.kzdxDocTimerAttach(brief, host.client(print), 0, 1)
    brief:close()
  end
end

-- One that a finalizer makes while another one is being made is another one.
do
  local alive, addresses = {}, {}
  local function drop()
    setmetatable({}, {__gc = function() alive[#alive + 1] = host.client(print) end})
  end
  for _ = 1, 200 do
    drop()
    collectgarbage("step", 1)
    alive[#alive + 1] = host.client(print)
  end
  for _, client in ipairs(alive) do
    check.equal(addresses[client.address], nil, "an address given twice")
    addresses[client.address] = true
  end
end

-- A client that its own finalizer's table brings back is dead, also if another one has its plain function by then.
do
  local dead
  setmetatable({host.client(print)}, {__gc = function(holder) dead = holder[1] end})
  collectgarbage()
  collectgarbage()
  check.raises("expected a client, got client that was finalized", function() attach(dead) end)
end

-- One that a module knows stays although the script has forgotten it, also when it is detached from one of two uses;
-- others make room for new ones.
do
  local calls = 0
  local watched = drawing:block("Watched once")
  do
    local client = host.client(function() calls = calls + 1 end)
    attach(client)
    module.kzdxBlockReferenceMonitorAttach(drawing, {watched}, client)
    detach(client)
  end
  attach(host.client(function() calls = calls + 10 end))
  for _ = 1, 3000 do host.client(function() error("never called") end) end
  drawing:modelSpace():insert(watched)
  host.idle()
  check.equal(calls, 11, "calls")
  host.unload(module)
  local alive = {}
  check.raises("clients are in use", function()
    while true do alive[#alive + 1] = host.client(print) end
  end)
  assert(#alive >= 1000, "clients of an unloaded module make room")
end
check.raises("no longer loaded", function() module.kzdxUpdateBlockGraph(drawing, true, true) end)
