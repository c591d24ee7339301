-- What ldraw.lua and hierarchy.lua have in common: a model, options and edits as words, and what comes of them.
local folder = debug.getinfo(1, "S").source:match("^@(.*/)") or "./"
local ldraw = dofile(folder .. "ldraw_model.lua")
local edits = dofile(folder .. "ldraw_edits.lua")

local editsHelp = [[
An EDIT is one of
  insert BLOCK CONTAINER   one more reference of BLOCK in CONTAINER
  erase BLOCK CONTAINER    the first reference of BLOCK in CONTAINER
  touch BLOCK              opens the definition for write and closes it, which moves no reference
  touch BLOCK CONTAINER    does the same with the first reference of BLOCK in CONTAINER
Blocks are named as in the model, in any letter case; "*Model_Space" is a container too.]]

local watch = { "--watch", value = "BLOCK", many = true,
  help = "a client for this block; may come again; without it every block has one" }

return function(commandLine, hierarchy)
  local stop, refuse = commandLine.stop, commandLine.refuse
  local commands = {}

  -- ---- words

  -- Takes an edit from the front of the words.
  local function takeEdit(words)
    local verb = table.remove(words, 1)
    local count = edits.verbs[verb]
    if not count then refuse("what is meant by " .. verb .. "?") end
    local names = {}
    -- A block may be called as a verb is; only a name that may be left out is not taken for one.
    while words[1] and #names < count[2] and (#names < count[1] or not edits.verbs[words[1]]) do
      table.insert(names, table.remove(words, 1))
    end
    if #names < count[1] then refuse(verb .. " needs " .. count[1] .. " names") end
    return { verb = verb, names = names, text = verb .. " " .. table.concat(names, " in ") }
  end

  -- The options, `model` and `edits`; nil when help was asked for.
  local function read(words, usage, options)
    local line = commandLine.read(words, usage .. "\n\n" .. editsHelp, options)
    if not line then return nil end
    line.model = table.remove(line, 1) or refuse("a MODEL is missing")
    line.edits = {}
    while line[1] do table.insert(line.edits, takeEdit(line)) end
    local depth = line.depth and math.tointeger(tonumber(line.depth))
    if line.depth and (not depth or depth < 0) then refuse("--depth needs a number of levels") end
    line.depth = depth
    return line
  end

  -- ---- progress, for a person who waits

  local isTerminal = os.execute("test -t 2")

  local function progress(what, count)
    if isTerminal and count % 5000 == 0 then io.stderr:write(("\r%s: %d "):format(what, count)) end
  end

  local function endProgress()
    if isTerminal then io.stderr:write("\r", (" "):rep(40), "\r") end
  end

  -- ---- the model and its edits

  local function recordNamed(drawing, name)
    return drawing.byKey[ldraw.key(name)] or stop("the model has no block " .. name .. " (--blocks lists them)")
  end

  local function recordsNamed(drawing, names)
    local records, isThere = {}, {}
    for _, name in ipairs(names or {}) do
      local record = recordNamed(drawing, name)
      if not isThere[record] then table.insert(records, record) end
      isThere[record] = true
    end
    return records
  end

  local function open(line)
    local model, refusal = ldraw.read(line.model, progress)
    endProgress()
    if not model then stop(refusal) end
    local isDrawn, drawing = pcall(ldraw.draw, model, host.open(ldraw.utf8(line.model)), progress)
    endProgress()
    if not isDrawn then stop(drawing) end
    for _, edit in ipairs(line.edits) do
      edit.block = recordNamed(drawing, edit.names[1])
      edit.container = edit.names[2] and recordNamed(drawing, edit.names[2])
    end
    return drawing, model
  end

  -- Makes the edits. Gives the called blocks, how each of them changed, and what a picture needs to know of that.
  local function edit(line, drawing)
    local watched = line.watch and recordsNamed(drawing, line.watch) or drawing.blocks
    local before = line.isDrawn and hierarchy.of(drawing.document)
    local isMade, called = pcall(edits.findCalled, drawing.document, watched, line.edits)
    if not isMade then stop(called) end
    local moved, changed = {}, {}
    for _, each in ipairs(line.edits) do
      moved[each.block] = moved[each.block] or each.verb ~= "touch" or each.container ~= nil
    end
    for _, block in ipairs(called) do changed[block] = moved[block] and "itself" or "inside" end
    return called, changed, before
  end

  local function viewOptions(line, drawing, changed, before)
    return { plain = drawing.blocks, edits = line.edits, changed = changed, before = before, all = line.all, depth = line.depth,
      below = line.below and recordsNamed(drawing, line.below), leaves = not line["no-leaves"] }
  end

  -- ---- hierarchy.lua

  local drawUsage = "usage: kzhost examples/hierarchy.lua MODEL [OPTION]... [EDIT]...\n"
    .. "Writes which blocks of an LDraw model lie in which, for Graphviz. With edits, only what they concern is drawn."

  function commands.draw(words)
    local options = table.move(hierarchy.commandLine, 1, #hierarchy.commandLine, 1, {})
    local line = read(words, drawUsage, table.move({ watch }, 1, 1, #options + 1, options))
    if not line then return end
    line.isDrawn = true
    local drawing = open(line)
    local changed, before
    if #line.edits > 0 then _, changed, before = edit(line, drawing) end
    local write = line.tree and hierarchy.tree or hierarchy.dot
    io.write((write(drawing.document, viewOptions(line, drawing, changed, before))))
  end

  -- ---- ldraw.lua

  local tellUsage = "usage: kzhost examples/ldraw.lua MODEL [OPTION]... [EDIT]...\n"
    .. "Opens an LDraw model as a drawing, edits it, and tells which blocks' clients were called."

  local tellOptions = { { "--blocks", help = "lists the blocks of the model instead" }, watch,
    { "--dot", value = "FILE", help = "writes what the edits concern for Graphviz, with the called blocks coloured" } }
  table.move(hierarchy.commandLine, 1, #hierarchy.commandLine, #tellOptions + 1, tellOptions)

  local function listBlocks(document)
    print(("%-40s %8s %8s"):format("block", "placed", "holds"))
    for _, node in ipairs(hierarchy.of(document).nodes) do
      print(("%-40s %8d %8d"):format(node.name, node:placed(), node:holds()))
    end
  end

  local function report(line, called, changed, graph)
    for _, each in ipairs(line.edits) do print("edit: " .. each.text) end
    print("clients called: " .. (#called == 0 and "none" or #called))
    local inside = edits.insideOf(line.edits, graph)
    for _, block in ipairs(called) do
      print(("  %-24s %s"):format(block.name, changed[block] == "itself" and "changed"
        or "lies inside " .. (inside[block] and inside[block].name or "a changed block")))
    end
  end

  local function writeFile(path, text)
    local file, problem = io.open(path, "w")
    if not file then stop(problem) end
    file:write(text)
    file:close()
  end

  function commands.tell(words)
    local line = read(words, tellUsage, tellOptions)
    if not line then return end
    if line.blocks and (#line.edits > 0 or line.tree or line.dot) then refuse("--blocks goes without the others") end
    for _, name in ipairs({ "below", "depth", "no-leaves", "all" }) do
      if line[name] and not (line.tree or line.dot) then refuse("--" .. name .. " needs --tree or --dot") end
    end
    line.isDrawn = line.tree or line.dot
    local drawing, model = open(line)
    print(("%s: %d lines, %d sub-files, %d other parts, %d references"):format(line.model, model.lines,
      #model.sections, drawing.parts, drawing.placings))
    if line.blocks then return listBlocks(drawing.document) end
    local called, changed, before = edit(line, drawing)
    report(line, called, changed, hierarchy.of(drawing.document))
    local options = viewOptions(line, drawing, changed, before)
    if line.tree then io.write("\n", (hierarchy.tree(drawing.document, options))) end
    if line.dot then writeFile(line.dot, (hierarchy.dot(drawing.document, options))) end
  end

  return commands
end
