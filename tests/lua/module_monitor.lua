-- Guards what clients of the block reference monitor see: which edits call which clients, when, in which order, and
-- what a callback may do.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local module = assert(host.load())
local log = check.log()

local function attach(document, blocks, client)
  check.equal(module.kzdxBlockReferenceMonitorAttach(document, blocks, client), 1, "attach")
end
local function callsOfIdle()
  host.idle()
  local calls = log:take()
  check.equal(host.idle() and log:take(), {}, "a second idle check without an edit")
  return calls
end

-- A frame holds two doors, a door holds a handle; a desk is next to them. Each block has a client of its name.
local drawing = host.open("house")
local space = drawing:modelSpace()
local frame, door, handle, desk = drawing:block("FRAME"), drawing:block("DOOR"), drawing:block("HANDLE"),
                                  drawing:block("DESK")
local doors = {frame:insert(door, {TAG = "left"}), frame:insert(door)}
local handleInDoor = door:insert(handle)
local frameInSpace = space:insert(frame, {NO = "1", OLD = "x"})
local deskInSpace = space:insert(desk)
for name, block in pairs({frame = frame, door = door, handle = handle, desk = desk}) do
  attach(drawing, {block}, log:client(name))
end

local function callsAfter(edit)
  edit()
  local calls = callsOfIdle()
  table.sort(calls)
  return calls
end

-- A change propagates to nested blocks, never to the containers.
check.equal(callsAfter(function() space:insert(frame) end), {"door", "frame", "handle"}, "insert")
check.equal(callsAfter(function() doors[1]:set("TAG", "right") end), {"door", "handle"}, "attribute")
check.equal(callsAfter(function() handleInDoor:touch() end), {"handle"}, "touched reference")
check.equal(callsAfter(function() frameInSpace:add("NEW", "1") end), {"door", "frame", "handle"}, "new attribute")
check.equal(callsAfter(function() doors[2]:move(space) end), {"door", "handle"}, "move")
check.equal(callsAfter(function() doors[1]:copy(desk) end), {"door", "handle"}, "copy")
check.equal(callsAfter(function() deskInSpace:erase() end), {"desk", "door", "handle"}, "erase")
check.equal(callsAfter(function() deskInSpace:erase(false) end), {"desk", "door", "handle"}, "erasure taken back")
check.equal(callsAfter(function() frameInSpace:touch() handleInDoor:touch() end), {"door", "frame", "handle"}, "two")
check.equal(callsAfter(function() handleInDoor:touch() deskInSpace:touch() end), {"desk", "door", "handle"}, "inner")

-- An edit of a plain record has it read again and changes nothing by itself; nor does a new record.
check.equal(callsAfter(function() door:rename("DOOR2") end), {}, "rename")
check.equal(callsAfter(function() door:touch() end), {}, "touched record")
check.equal(callsAfter(function() drawing:block("NEW") end), {}, "new record")
check.equal(callsAfter(function() drawing:block("NEW2"):insert(desk) end), {"desk", "door", "handle"}, "in a new one")
-- An erased record keeps its node and its references.
check.equal(callsAfter(function() desk:erase() end), {}, "erased record")
check.equal(callsAfter(function() deskInSpace:touch() end), {"desk", "door", "handle"}, "reference of an erased record")
check.equal(callsAfter(function() desk:erase(false) end), {}, "erased record back")

-- An erased reference is watched and filed on; one that leaves memory is gone at the next reading.
check.equal(callsAfter(function() handleInDoor:erase() end), {"handle"})
check.equal(callsAfter(function() doors[1]:set("TAG", "x") end), {"door", "handle"}, "through an erased reference")
check.equal(callsAfter(function() handleInDoor:goodbye() end), {}, "goodbye marks nothing")
check.equal(callsAfter(function() door:touch() end), {"handle"}, "the next reading misses it")
check.equal(callsAfter(function() doors[1]:set("TAG", "y") end), {"door"}, "nothing inside any more")
handleInDoor = door:insert(handle)
check.equal(callsOfIdle(), {"handle"})

-- One call per notification however many blocks changed, and any number of edits at once; in order of address.
do
  local clients = log:clients(3)
  attach(drawing, {frame, door, handle, desk}, clients[2])
  attach(drawing, {desk, desk}, clients[3])
  attach(drawing, {handle}, clients[1])
  for _ = 1, 3 do
    deskInSpace:touch()
    handleInDoor:touch()
  end
  host.idle()
  check.equal((table.concat(log:take()):gsub("%a", "")), "123")
  for _, client in ipairs(clients) do module.kzdxBlockReferenceMonitorDetach(drawing, client) end
end

-- On request instead of at idle; unnoticed changes wait for the next notification.
deskInSpace:touch()
check.equal(module.kzdxUpdateBlockGraph(drawing, false, true), 1)
check.equal(#log:take(), 3, "desk and the door in it")
deskInSpace:touch()
check.equal(module.kzdxUpdateBlockGraph(drawing, true, false), 1)
check.equal(log:take(), {})
check.equal(callsOfIdle(), {}, "nothing to scan: what waits goes on waiting")
module.kzdxUpdateBlockGraph(drawing, false, true)
check.equal(log:take(), {})
module.kzdxUpdateBlockGraph(drawing, true, true)
check.equal(#log:take(), 3, "desk and the door in it")
drawing:close()
check.equal(callsOfIdle(), {})

-- The last detach ends the watching.
do
  local other = host.open("second")
  local block = other:block("A")
  local reference = other:modelSpace():insert(block, {TAG = "1", ERASED = "2"})
  local attribute, hidden = reference:attribute("TAG"), reference:attribute("ERASED")
  local erased = reference:copy()
  local hiddenToo = erased:attribute("TAG")
  hidden:erase()
  erased:erase()
  local client, second = log:client("first"), log:client("second")
  check.equal(block:reactors() + reference:reactors() + attribute:reactors(), 0)
  attach(other, {block.id, 12345}, client)
  attach(other, {block}, second)
  check.equal({block:reactors(), reference:reactors(), attribute:reactors(), erased:reactors()}, {1, 1, 1, 1})
  check.equal({hidden:reactors(), hiddenToo:reactors()}, {0, 0}, "attributes that do not show")
  module.kzdxBlockReferenceMonitorDetach(other, client)
  check.equal(block:reactors(), 1, "one client is left")
  module.kzdxBlockReferenceMonitorDetach(other, second)
  check.equal({block:reactors(), reference:reactors(), attribute:reactors()}, {0, 0, 0})

  -- Ids that name no block: the graph watches with no client on it, until any detach.
  attach(other, {reference, 99999}, client)
  check.equal(block:reactors(), 1)
  module.kzdxBlockReferenceMonitorDetach(other, second)
  check.equal(block:reactors(), 0)

  -- Refusals.
  check.equal(module.kzdxBlockReferenceMonitorAttach(other, {}, client), 0, "no ids")
  check.equal(module.kzdxBlockReferenceMonitorAttach(other, nil, client), 0, "null array")
  check.equal(module.kzdxBlockReferenceMonitorAttach(other, {block}, nil), 0, "null callback")
  other:close()
end

-- An attached drawing: any edit of its record changes it and the blocks in its model space.
do
  local site, plan = host.open("site"), host.open("plan")
  local first = site:modelSpace():insert(site:block("TREE"))
  local xref = plan:attach(site, "SITE")
  attach(plan, {plan:find("SITE|TREE")}, log:client("tree"))
  attach(plan, {xref}, log:client("site"))
  check.equal(callsAfter(function() xref:touch() end), {"site", "tree"}, "the tree is inside the site")
  check.equal(callsAfter(function() first:touch() end), {"tree"}, "edited in the other drawing")
  plan:close()
end

-- What a callback may do: three clients on one block, the second one acts.
local function callsWhen(action)
  local document = host.open("callback")
  local block = document:block("A")
  local reference = document:modelSpace():insert(block)
  local made, done = nil, false
  made = log:clients(3, {[2] = function()
    if done then return end
    done = true
    action(document, block, reference, made)
  end})
  for _, client in ipairs(made) do attach(document, {block}, client) end
  reference:touch()
  host.idle()
  local calls = log:take()
  pcall(document.close, document)
  return calls
end
local function detachAll(document, clients)
  for _, client in ipairs(clients) do module.kzdxBlockReferenceMonitorDetach(document, client) end
end

check.equal(callsWhen(function(document, _, _, clients) detachAll(document, clients) end), {1, 2, 3},
            "detaches all: those gathered are still called")
check.equal(callsWhen(function(document, _, reference)
  reference:touch()
  module.kzdxUpdateBlockGraph(document, true, true)
end), {1, 2, 1, 2, 3, 3}, "edits and updates")
check.equal(callsWhen(function(document) document:close() end), {1, 2}, "closes its document")
check.equal(callsWhen(function(document, block, _, clients)
  detachAll(document, clients)
  attach(document, {block}, clients[1])
end), {1, 2, 3}, "detaches all and attaches again")
check.equal(callsWhen(function() host.unload(module) end), {1, 2}, "unloads the module")
check.equal(host.services(), {})
