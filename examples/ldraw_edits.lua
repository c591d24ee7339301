-- Edits of a drawing that can be taken back and made again, and whose clients they call.
--
--   local edits = dofile(folder .. "ldraw_edits.lua")
--   local called = edits.findCalled(document, blocks, { { verb = "insert", block = door, container = room } })
local edits = {}

local function firstReference(block, container)
  for _, reference in ipairs(block:references()) do
    if reference.owner == container then return reference end
  end
  error(("%s has no reference in %s"):format(block.name, container.name), 0)
end

-- Each makes an edit and gives what takes it back.
local make = {}

function make.insert(block, container)
  local reference = container:insert(block)
  return function() reference:goodbye() end
end

function make.erase(block, container)
  local reference = firstReference(block, container)
  reference:erase()
  return function() reference:erase(false) end
end

function make.touch(block, container)
  local object = container and firstReference(block, container) or block
  object:touch()
  return function() end
end

-- How many blocks each verb names, at least and at most.
edits.verbs = { insert = { 2, 2 }, erase = { 2, 2 }, touch = { 1, 2 } }

-- Makes all edits; gives what takes them back, the last one first.
local function makeAll(list)
  local undos = {}
  for _, edit in ipairs(list) do table.insert(undos, 1, make[edit.verb](edit.block, edit.container)) end
  return function()
    for _, undo in ipairs(undos) do undo() end
  end
end

-- One client for each group of blocks, a fresh module, the edits, an idle check. Gives the blocks of the groups
-- whose clients were called.
local function runOnce(document, groups, clients, list)
  local called = {}
  local module = assert(host.load())
  for at, group in ipairs(groups) do
    clients[at].call = function() table.move(group, 1, #group, #called + 1, called) end
    assert(module.kzdxBlockReferenceMonitorAttach(document, group, clients[at].client) == 1)
  end
  local isMade, undo = pcall(makeAll, list)
  if isMade then host.idle() end
  host.unload(module)
  if not isMade then error(undo, 0) end
  return called, undo
end

local function makeClients(wanted)
  local clients = {}
  while #clients < wanted do
    local each = {}
    local isMade, client = pcall(host.client, function() each.call() end)
    if not isMade then break end
    each.client = client
    table.insert(clients, each)
  end
  assert(#clients > 0, "the host has no client to give")
  return clients
end

-- Splits a list into at most `count` groups of equal size.
local function split(list, count)
  local size, groups = math.max(1, math.ceil(#list / count)), {}
  for at = 1, #list, size do table.insert(groups, table.move(list, at, math.min(at + size - 1, #list), 1, {})) end
  return groups
end

-- Makes the edits of the list; gives the blocks among `watched` whose clients they call, by id. The host has only so
-- many clients: when there are more blocks, whole groups are watched first, and the blocks of those that were called
-- one by one after that. Every round begins with the edits taken back, and the last one leaves them made.
function edits.findCalled(document, watched, list)
  local clients = makeClients(#watched)
  local candidates, undo = watched, nil
  if #candidates > #clients then
    candidates, undo = runOnce(document, split(candidates, #clients), clients, list)
  end
  local called = {}
  for at = 1, #candidates, #clients do
    if undo then undo() end
    local part = table.move(candidates, at, math.min(at + #clients - 1, #candidates), 1, {})
    local some
    some, undo = runOnce(document, split(part, #part), clients, list)
    table.move(some, 1, #some, #called + 1, called)
  end
  table.sort(called, function(a, b) return a.id < b.id end)
  return called
end

-- The edited block that each block lies in, by block, of those that lie in one. `graph` is hierarchy.of(document).
function edits.insideOf(list, graph)
  local inside = {}
  for _, edit in ipairs(list) do
    local open = { graph.byRecord[edit.block] }
    while #open > 0 do
      for _, edge in ipairs(table.remove(open).inner) do
        local block = edge.to.record
        if not inside[block] then
          inside[block] = edit.block
          table.insert(open, edge.to)
        end
      end
    end
  end
  return inside
end

return edits
