-- Guards the idle timers of outside clients: when callbacks are called, in which order, and what they may change.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local module = assert(host.load())
local drawing = host.open("drawing")
local log = check.log()

local function attach(client, interval, document)
  check.equal(module.kzdxDocTimerAttach(document or drawing, client, interval or 0, 1), 1, "attach")
end
local function detach(client, interval, document)
  check.equal(module.kzdxDocTimerAttach(document or drawing, client, interval or 0, 0), 1, "detach")
end
local function callsOfIdle()
  host.idle()
  return log:take()
end
local function callsAfter(milliseconds)
  host.advance(milliseconds)
  return callsOfIdle()
end

-- Intervals count from the attach, then from the end of the calls; the latest one counts for all.
do
  local clients = log:clients(2, {function() host.advance(30) end})
  attach(clients[2], 100)
  attach(clients[1], 100)
  host.post(0, 0, 0)
  check.equal({host.pump()}, {1, 0}, "before the first posting no message is the module's, not even number 0")
  check.equal(callsOfIdle(), {}, "before the first interval has passed")
  check.equal(callsAfter(99), {})
  check.equal(callsAfter(1), {1, 2}, "in order of address")
  check.equal(callsAfter(99), {}, "counted from the end of the calls")
  check.equal(callsAfter(1), {1, 2})
  detach(clients[2], 500)
  check.equal(callsAfter(499), {}, "a detaching call changes the interval too")
  check.equal(callsAfter(1), {1})
  attach(clients[1], -1)
  check.equal(callsOfIdle(), {1}, "negative as a signed number means every idle check")
  detach(clients[1])
  check.equal(callsOfIdle(), {})
end

-- The first interval is unsigned: 2^32-1 is never reached by a day or two.
do
  local document = host.open("long")
  attach(log:client("long"), 2 ^ 32 // 1 - 1 | 0, document)
  check.equal(callsAfter(2 ^ 31 // 1 | 0), {})
  check.equal(callsAfter(2 ^ 31 // 1 - 1 | 0), {"long"})
  document:close()
end

-- What keeps a document from being idle. The message is taken all the same.
do
  host.current(drawing)
  local client = log:client("idle")
  attach(client)
  local function taken()
    host.lock(drawing, "#END")
    local dispatched, took = host.pump()
    check.equal({dispatched, took}, {1, 1})
    return log:take()
  end
  check.equal(taken(), {"idle"})
  drawing:ready(false)
  check.equal(taken(), {}, "not ready")
  drawing:ready(true)
  drawing:busy(3)
  check.equal(taken(), {}, "busy")
  drawing:busy(0)
  host.input(true)
  check.equal(taken(), {}, "waiting keys")
  host.input(false)
  for mode, isIdle in pairs({[0] = true, [1] = false, [2] = true, [3] = false, [4] = false}) do
    drawing:lockMode(mode)
    check.equal(#taken(), isIdle and 1 or 0, "lock mode " .. mode)
  end
  drawing:lockMode(0)
  host.command("LINE", function() check.equal(taken(), {}, "active command") end)
  check.equal(callsOfIdle(), {"idle", "idle"}, "the command's own end and #idle")
  host.refuse("manager", true)
  host.idle()
  check.equal(log:take(), {}, "no document manager")
  host.refuse("manager", false)
  host.refuse("window", true)
  check.equal({host.idle()}, {0, 0}, "no main window: nothing is posted")
  host.refuse("window", false)
  check.equal(log:take(), {})

  -- Posted only for a command name that begins with "#", on the current document.
  for _, name in ipairs({"LINE", "", "LINE#"}) do
    host.lock(drawing, name)
    check.equal(host.pump(), 0, "posted for " .. name)
  end
  host.lock(drawing, nil)
  check.equal(host.pump(), 0, "posted for a null name")
  local other = host.open("other")
  host.lock(drawing, "#END")
  check.equal(host.pump(), 0, "posted for a document that is not current")
  host.current(drawing)
  host.lock(drawing, "#END")
  host.current(other)
  check.equal({host.pump()}, {1, 1}, "no longer current when the message arrives")
  check.equal(log:take(), {})
  other:close()
  host.current(drawing)
  detach(client)
end

-- Made-up messages with the idle check's number: it is the first one registered.
do
  local client = log:client("made up")
  attach(client)
  for _, parameter in ipairs({0, 1, -1, 0x1234567}) do
    host.post(0xC000, parameter, 7)
    check.equal({host.pump()}, {1, 1})
  end
  host.post(0xC001, 1, 1)
  check.equal({host.pump()}, {1, 0}, "other numbers pass")
  check.equal(log:take(), {})
  detach(client)
end

-- What a callback may do: five clients, the third one acts once.
local function callsWhen(action)
  local clients, done
  clients = log:clients(5, {[3] = function()
    if done then return end
    done = true
    action(clients)
  end})
  for at = 1, 5 do
    if at ~= 4 then attach(clients[at]) end
  end
  host.idle()
  local calls = log:take()
  if not clients.keep then
    for _, client in ipairs(clients) do detach(client) end
  end
  return calls
end

check.equal(callsWhen(function(c) attach(c[4]) end), {1, 2, 3, 4, 5}, "attaches one ahead")
check.equal(callsWhen(function(c)
  for at = 1, 5 do detach(c[at]) end
  attach(c[5])
end), {1, 2, 3, 5}, "detaches all and attaches one")
check.equal(callsWhen(function(c) host.idle() end), {1, 2, 3, 1, 2, 3, 5, 5}, "idles again")
check.equal(callsWhen(function(c)
  c.keep = true
  drawing:close()
end), {1, 2, 3}, "closes its own document")
drawing = host.open("again")
check.equal(callsWhen(function(c)
  c.keep = true
  host.unload(module)
  module = assert(host.load())
  for at = 1, 5 do attach(c[at]) end
end), {1, 2, 3}, "unloads and loads again")
check.equal(callsOfIdle(), {1, 2, 3, 4, 5}, "the new instance")
