-- Opens an LDraw model as a drawing, edits it, and tells which blocks' clients were called.
--
--   kzhost examples/ldraw.lua MODEL [--watch BLOCK]... [--dot FILE] [EDIT]...
--
-- An EDIT is one of
--   insert BLOCK CONTAINER   one more reference of BLOCK in CONTAINER
--   erase BLOCK CONTAINER    the first reference of BLOCK in CONTAINER
--   touch BLOCK              opens the definition for write and closes it, which moves no reference
--   touch BLOCK CONTAINER    does the same with the first reference of BLOCK in CONTAINER
--
-- Blocks are named as in the model, in any letter case; "*Model_Space" is a container too. Without --watch every
-- block has a client. --dot writes the hierarchy for Graphviz, with the called blocks coloured.
local folder = arg[0]:match("^.*/") or "./"
local ldraw = dofile(folder .. "ldraw_model.lua")
local hierarchy = dofile(folder .. "hierarchy.lua")

local function stop(status, text)
  io.stderr:write(text, "\n")
  os.exit(status)
end

local function usage(problem)
  stop(2, "ldraw.lua: " .. problem
    .. "\nusage: kzhost examples/ldraw.lua MODEL [--watch BLOCK]... [--dot FILE] [EDIT]..."
    .. "\nEDIT: insert BLOCK CONTAINER | erase BLOCK CONTAINER | touch BLOCK [CONTAINER]")
end

-- ---- the command line

local most = { insert = 2, erase = 2, touch = 2 }
local least = { insert = 2, erase = 2, touch = 1 }

local function isWord(word)
  return word and not most[word] and not word:match("^%-%-")
end

-- An edit and the position behind it.
local function readEdit(words, at)
  local edit = { verb = words[at], names = {} }
  at = at + 1
  while isWord(words[at]) and #edit.names < most[edit.verb] do
    table.insert(edit.names, words[at])
    at = at + 1
  end
  if #edit.names < least[edit.verb] then usage(edit.verb .. " needs " .. least[edit.verb] .. " names") end
  return edit, at
end

local function readCommandLine(words)
  local line = { watched = {}, edits = {} }
  local at = 1
  while words[at] do
    local word = words[at]
    if word == "--watch" or word == "--dot" then
      if not words[at + 1] then usage(word .. " needs a name") end
      if word == "--dot" then line.dot = words[at + 1] else table.insert(line.watched, words[at + 1]) end
      at = at + 2
    elseif most[word] and line.model then
      local edit
      edit, at = readEdit(words, at)
      table.insert(line.edits, edit)
    elseif line.model or word:match("^%-") then
      usage("what is meant by " .. word .. "?")
    else
      line.model = word
      at = at + 1
    end
  end
  return line.model and line or usage("a MODEL is missing")
end

-- ---- progress, for a person who waits

local isTerminal = os.execute("test -t 2")

local function progress(what, count)
  if isTerminal and count % 5000 == 0 then io.stderr:write(("\r%s: %d "):format(what, count)) end
end

local function endProgress()
  if isTerminal then io.stderr:write("\r", (" "):rep(40), "\r") end
end

-- ---- edits, each of which can be taken back and made again

local function recordNamed(drawing, name)
  local record = drawing.byKey[ldraw.key(name)]
  if not record then stop(1, "ldraw.lua: the model has no block " .. name) end
  return record
end

local function firstReference(block, container)
  for _, reference in ipairs(block:references()) do
    if reference.owner == container then return reference end
  end
  return stop(1, ("ldraw.lua: %s has no reference in %s"):format(block.name, container.name))
end

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

-- Makes all edits; gives what takes them back, the last one first.
local function makeEdits(edits)
  local undos = {}
  for _, edit in ipairs(edits) do table.insert(undos, 1, make[edit.verb](edit.block, edit.container)) end
  return function()
    for _, undo in ipairs(undos) do undo() end
  end
end

-- ---- which clients are called

-- One client for each group of blocks, a fresh module, the edits, an idle check. Gives the blocks of the groups
-- whose clients were called.
local function runOnce(drawing, groups, clients, edits)
  local called = {}
  local module = assert(host.load())
  for at, group in ipairs(groups) do
    clients[at].call = function() table.move(group, 1, #group, #called + 1, called) end
    assert(module.kzdxBlockReferenceMonitorAttach(drawing.document, group, clients[at].client) == 1)
  end
  local undo = makeEdits(edits)
  host.idle()
  host.unload(module)
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

-- The blocks whose clients are called by the edits. The host has only so many clients: when there are more
-- blocks, whole groups are watched first, and the blocks of those that were called one by one after that.
-- Every round begins with the edits taken back.
local function findCalled(drawing, watched, edits)
  local clients = makeClients(#watched)
  local candidates, undo = watched, nil
  if #candidates > #clients then
    candidates, undo = runOnce(drawing, split(candidates, #clients), clients, edits)
  end
  local called = {}
  for at = 1, #candidates, #clients do
    if undo then undo() end
    local part = table.move(candidates, at, math.min(at + #clients - 1, #candidates), 1, {})
    local some
    some, undo = runOnce(drawing, split(part, #part), clients, edits)
    table.move(some, 1, #some, #called + 1, called)
  end
  table.sort(called, function(a, b) return a.id < b.id end)
  return called
end

-- ---- the report

-- What lies in the edited blocks, with the edited block that it lies in.
local function insideOf(edits, model, drawing)
  local inner, inside = {}, {}
  for _, section in ipairs(model.sections) do
    local blocks = {}
    for _, place in ipairs(section.placings) do table.insert(blocks, drawing.byKey[place.key]) end
    inner[drawing.byKey[section.key]] = blocks
  end
  for _, edit in ipairs(edits) do
    if edit.verb == "insert" and inner[edit.container] then table.insert(inner[edit.container], edit.block) end
  end
  for _, edit in ipairs(edits) do
    local open = { edit.block }
    while #open > 0 do
      for _, block in ipairs(inner[table.remove(open)] or {}) do
        if not inside[block] then
          inside[block] = edit.block
          table.insert(open, block)
        end
      end
    end
  end
  return inside
end

-- How each called block changed, as hierarchy.lua wants it, while telling it.
local function report(called, edits, inside)
  local edited, changed = {}, {}
  for _, edit in ipairs(edits) do edited[edit.block] = edit.verb ~= "touch" or edit.container ~= nil or nil end
  print("clients called: " .. (#called == 0 and "none" or #called))
  for _, block in ipairs(called) do
    changed[block] = edited[block] and "itself" or "inside"
    print(("  %-24s %s"):format(block.name,
      edited[block] and "changed" or "lies inside " .. (inside[block] and inside[block].name or "a changed block")))
  end
  return changed
end

local function writeDot(path, document, changed)
  local file, problem = io.open(path, "w")
  if not file then stop(1, "ldraw.lua: " .. problem) end
  file:write(hierarchy.dot(document, { changed = changed }))
  file:close()
end

local line = readCommandLine(arg)
local model, refusal = ldraw.read(line.model, progress)
endProgress()
if not model then stop(1, refusal) end
local drawing = ldraw.draw(model, host.open(line.model), progress)
endProgress()
print(("%s: %d lines, %d sub-files, %d other parts, %d references"):format(line.model, model.lines,
  #model.sections, drawing.parts, drawing.placings))

local watched = #line.watched == 0 and drawing.blocks or {}
local isWatched = {}
for _, name in ipairs(line.watched) do
  local record = recordNamed(drawing, name)
  if not isWatched[record] then table.insert(watched, record) end
  isWatched[record] = true
end
for _, edit in ipairs(line.edits) do
  edit.block = recordNamed(drawing, edit.names[1])
  edit.container = edit.names[2] and recordNamed(drawing, edit.names[2])
  print("edit: " .. edit.verb .. " " .. table.concat(edit.names, " in "))
end

local called = findCalled(drawing, watched, line.edits)
endProgress()
local changed = report(called, line.edits, insideOf(line.edits, model, drawing))
if line.dot then writeDot(line.dot, drawing.document, changed) end
