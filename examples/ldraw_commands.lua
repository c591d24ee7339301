-- The commands of ldraw.lua and hierarchy.lua: command lines with a model, options and edits, and their output.
local folder = debug.getinfo(1, "S").source:match("^@(.*/)") or "./"
local ldraw = dofile(folder .. "ldraw_model.lua")
local edits = dofile(folder .. "ldraw_edits.lua")

local editsHelp = [[
An EDIT is one of
  insert BLOCK CONTAINER   insert a reference of BLOCK in CONTAINER
  erase BLOCK CONTAINER    erase the first reference of BLOCK in CONTAINER
  touch BLOCK              open the block definition for write and close it
  touch BLOCK CONTAINER    the same with the first reference of BLOCK in CONTAINER
Block names are those of the model; case is ignored. "*Model_Space" is a container too.]]

local watch = { "--watch", value = "BLOCK", many = true,
  help = "attach a client to this block (repeatable); by default every block has a client" }

return function(commandLine, hierarchy)
  local stop, usageError = commandLine.stop, commandLine.usageError
  local commands = {}

  -- ---- the command line

  -- Removes an edit from the front of the words and returns it.
  local function takeEdit(words)
    local verb = table.remove(words, 1)
    local count = edits.verbs[verb]
    if not count then usageError("unknown edit: " .. verb) end
    local names = {}
    -- A block may have the name of a verb. Only where a name is optional, such a word begins the next edit.
    while words[1] and #names < count[2] and (#names < count[1] or not edits.verbs[words[1]]) do
      table.insert(names, table.remove(words, 1))
    end
    if #names < count[1] then usageError(verb .. ": missing block name") end
    return { verb = verb, names = names, text = verb .. " " .. table.concat(names, " in ") }
  end

  -- Returns the options, `model` and `edits`; nil with --help.
  local function read(words, usage, options)
    local line = commandLine.read(words, usage .. "\n\n" .. editsHelp, options)
    if not line then return nil end
    line.model = table.remove(line, 1) or usageError("missing MODEL")
    line.edits = {}
    while line[1] do table.insert(line.edits, takeEdit(line)) end
    local depth = line.depth and math.tointeger(tonumber(line.depth))
    if line.depth and (not depth or depth < 0) then usageError("--depth: not a number of levels: " .. line.depth) end
    line.depth = depth
    return line
  end

  -- ---- progress, on a terminal

  local isTerminal = os.execute("test -t 2")

  local function progress(what, count)
    if isTerminal and count % 5000 == 0 then io.stderr:write(("\r%s: %d "):format(what, count)) end
  end

  local function endProgress()
    if isTerminal then io.stderr:write("\r", (" "):rep(40), "\r") end
  end

  -- ---- the model and its edits

  local function recordNamed(drawing, name)
    return drawing.byKey[ldraw.key(name)] or stop("no such block: " .. name .. " (list them with --blocks)")
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
    local model, problem = ldraw.read(line.model, progress)
    endProgress()
    if not model then stop(problem) end
    local isDrawn, drawing = pcall(ldraw.draw, model, host.open(ldraw.utf8(line.model)), progress)
    endProgress()
    if not isDrawn then stop(drawing) end
    for _, edit in ipairs(line.edits) do
      edit.block = recordNamed(drawing, edit.names[1])
      edit.container = edit.names[2] and recordNamed(drawing, edit.names[2])
    end
    return drawing, model
  end

  -- Makes the edits. Returns the blocks whose clients were called, how each of them changed, and, if a picture is drawn,
  -- the hierarchy before the edits.
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
    .. "Writes the block hierarchy of an LDraw model for Graphviz. With edits, only the blocks that they concern are drawn."

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

  local reportUsage = "usage: kzhost examples/ldraw.lua MODEL [OPTION]... [EDIT]...\n"
    .. "Opens an LDraw model as a drawing, edits it, and lists the blocks whose clients were called."

  local reportOptions = { { "--blocks", help = "list the blocks of the model instead" }, watch,
    { "--dot", value = "FILE", help = "write a picture of what the edits concern, for Graphviz" } }
  table.move(hierarchy.commandLine, 1, #hierarchy.commandLine, #reportOptions + 1, reportOptions)

  local function listBlocks(document)
    print(("%-40s %8s %8s"):format("block", "placed", "contains"))
    for _, node in ipairs(hierarchy.of(document).nodes) do
      print(("%-40s %8d %8d"):format(node.name, node:placed(), node:contains()))
    end
  end

  local function printCalled(line, called, changed, graph)
    for _, each in ipairs(line.edits) do print("edit: " .. each.text) end
    print("clients called: " .. (#called == 0 and "none" or #called))
    local edited = edits.editedAncestors(line.edits, graph)
    for _, block in ipairs(called) do
      print(("  %-24s %s"):format(block.name, changed[block] == "itself" and "changed"
        or "nested in " .. (edited[block] and edited[block].name or "a changed block")))
    end
  end

  local function writeFile(path, text)
    local file, problem = io.open(path, "w")
    if not file then stop(problem) end
    file:write(text)
    file:close()
  end

  function commands.report(words)
    local line = read(words, reportUsage, reportOptions)
    if not line then return end
    if line.blocks and (#line.edits > 0 or line.tree or line.dot) then
      usageError("--blocks: not with edits, --tree or --dot")
    end
    for _, name in ipairs({ "below", "depth", "no-leaves", "all" }) do
      if line[name] and not (line.tree or line.dot) then usageError("--" .. name .. ": only with --tree or --dot") end
    end
    line.isDrawn = line.tree or line.dot
    local drawing, model = open(line)
    print(("%s: %d lines, %d sub-files, %d other parts, %d references"):format(line.model, model.lines,
      #model.sections, drawing.parts, drawing.placings))
    if line.blocks then return listBlocks(drawing.document) end
    local called, changed, before = edit(line, drawing)
    printCalled(line, called, changed, hierarchy.of(drawing.document))
    local options = viewOptions(line, drawing, changed, before)
    if line.tree then io.write("\n", (hierarchy.tree(drawing.document, options))) end
    if line.dot then writeFile(line.dot, (hierarchy.dot(drawing.document, options))) end
  end

  return commands
end
