-- Edits of a drawing that can be undone and repeated, and the clients that they call.
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

-- Each function makes an edit and returns a function that undoes it.
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

-- The number of block names of each verb: minimum and maximum.
edits.verbs = { insert = { 2, 2 }, erase = { 2, 2 }, touch = { 1, 2 } }

-- Makes all edits; returns a function that undoes them in reverse order.
local function makeAll(list)
  local undos = {}
  for _, edit in ipairs(list) do table.insert(undos, 1, make[edit.verb](edit.block, edit.container)) end
  return function()
    for _, undo in ipairs(undos) do undo() end
  end
end

-- Loads the module, attaches one client to each group of blocks, makes the edits and runs an idle check. Returns the
-- blocks of the groups whose clients were called, and a function that undoes the edits.
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
  assert(#clients > 0, "all clients of the host are in use")
  return clients
end

-- Splits a list into at most `count` groups of equal size.
local function split(list, count)
  local size, groups = math.max(1, math.ceil(#list / count)), {}
  for at = 1, #list, size do table.insert(groups, table.move(list, at, math.min(at + size - 1, #list), 1, {})) end
  return groups
end

-- Makes the edits of the list; returns the blocks among `watched` whose clients they call, in ascending order of ids.
-- The number of clients is limited: if there are more blocks, groups of blocks share a client first, and then each
-- block of the groups that were called has a client of its own. Every round but the first begins by undoing the edits;
-- after the last round the edits are made.
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

-- An edited block that contains a block, for each block that is nested in one. `graph` is hierarchy.of(document).
function edits.editedAncestors(list, graph)
  local ancestors = {}
  for _, edit in ipairs(list) do
    local open = { graph.byRecord[edit.block] }
    while #open > 0 do
      for _, edge in ipairs(table.remove(open).inner) do
        local block = edge.to.record
        if not ancestors[block] then
          ancestors[block] = edit.block
          table.insert(open, edge.to)
        end
      end
    end
  end
  return ancestors
end

return edits
