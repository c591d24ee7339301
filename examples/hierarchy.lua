-- The block hierarchy of a drawing, as a picture (for Graphviz) or as a text tree.
--
--   kzhost examples/hierarchy.lua MODEL [OPTION]... [EDIT]... | dot -Tsvg -o model.svg
--   kzhost examples/hierarchy.lua MODEL --tree
--
-- MODEL and EDITs are those of ldraw.lua; --help lists the options. In another script, or at a prompt:
--
--   hierarchy = dofile("examples/hierarchy.lua")
--   print(hierarchy.tree(document))
--   file:write(hierarchy.dot(document, { edits = { { block = door, container = room, text = "a door is inserted" } } }))
--
-- Options of hierarchy.dot and hierarchy.tree, all optional:
--   edits            list of edits: the block, the container if a reference was edited, and a text for the title. With
--                    edits, only the blocks that they concern are shown
--   before           hierarchy.of(document) from before the edits: to show changed counts
--   changed          how records changed: "itself", or "inside" if nested in a changed block
--   representations  the enhanced block of each representation, by representation
--   plain            list of records that are plain blocks, whatever their names are
--   below            list of records: only these and the blocks nested in them are shown
--   depth            maximum number of levels, from there, from the edited blocks or from the layouts
--   leaves = false   omit empty blocks
--   all              show everything, whatever was edited and however large the drawing is
local folder = debug.getinfo(1, "S").source:match("^@(.*/)") or "./"
local writeDot, writeTree = dofile(folder .. "hierarchy_dot.lua"), dofile(folder .. "hierarchy_tree.lua")
local hierarchy = {}

-- ---- edges

local Edge = {}
Edge.__index = Edge

-- Whether an edit added, removed or changed references of this block in this container.
function Edge:isMarked()
  return self.isEdited or self.before ~= nil and self.before ~= self.count
end

-- The label of the edge; nil for a single, unchanged reference.
function Edge:text()
  local before, times = self.before or self.count, self.count > 1 and "×" .. self.count or nil
  if before ~= self.count then
    if before == 0 then return times and "new, " .. times or "new" end
    return self.count == 0 and "gone" or ("×%d → %d"):format(before, self.count)
  end
  if self.isEdited then return times and times .. ", edited" or "edited" end
  return times
end

-- ---- nodes

local Node = {}
Node.__index = Node

local function sumOf(edges)
  local sum = 0
  for _, edge in ipairs(edges) do sum = sum + edge.count end
  return sum
end

-- The numbers of references that insert the block and that it contains.
function Node:placed() return sumOf(self.outer) end
function Node:contains() return sumOf(self.inner) end

-- Scripts cannot query the kind of a record, but its name shows it: the host names layouts and representations, and
-- "SITE|TREE" is a block of the attached drawing SITE.
local function kindOf(record, names)
  local name = record.name
  if name:match("^%*Model_Space") or name:match("^%*Paper_Space") then return "layout" end
  if name:match("^%*U%d") then return "representation" end
  if name:find("|", 1, true) then return "dependent" end
  return names.external[name] and "external" or "block"
end

local function namesOf(records)
  local names = { record = {}, external = {} }
  for _, record in ipairs(records) do
    names.record[record.name] = record
    local drawing = record.name:match("^(.-)|")
    if drawing then names.external[drawing] = true end
  end
  return names
end

-- The record of this drawing in which a reference is placed. For a reference inside an attached drawing, this is the
-- dependent record of its owner, or the record of the attached drawing; nil if there is neither.
local function containerOf(reference, block, names, byRecord)
  local owner = reference.owner
  if byRecord[owner] then return owner end
  local drawing = block.name:match("^(.-)|")
  if not drawing then return nil end
  return names.record[drawing .. "|" .. owner.name] or names.record[drawing]
end

-- The edge "block in container", created on demand.
local function edgeOf(container, block)
  local edge = block.edgeFrom[container]
  if edge then return edge end
  edge = setmetatable({ from = container, to = block, count = 0 }, Edge)
  block.edgeFrom[container] = edge
  table.insert(block.outer, edge)
  table.insert(container.inner, edge)
  return edge
end

-- Returns a graph of the current drawing: a node for each record, in table order, with its record, name and kind, and
-- its edges `inner` (to its content) and `outer` (to its containers), each with the number of references.
function hierarchy.of(document)
  local graph = { name = document.name, nodes = {}, byRecord = {} }
  local records = document:records()
  local names = namesOf(records)
  for _, record in ipairs(records) do
    local node = setmetatable({ record = record, name = record.name, kind = kindOf(record, names), inner = {},
      outer = {}, edgeFrom = {} }, Node)
    graph.byRecord[record] = node
    table.insert(graph.nodes, node)
  end
  for _, node in ipairs(graph.nodes) do
    for _, reference in ipairs(node.record:references()) do
      local container = graph.byRecord[containerOf(reference, node.record, names, graph.byRecord)]
      if container then
        local edge = edgeOf(container, node)
        edge.count = edge.count + 1
      end
    end
  end
  return graph
end

-- ---- edits

-- Sets `before`, the earlier count, of every edge. Edges that no longer exist are added with the count 0.
local function compare(graph, before)
  for _, node in ipairs(before.nodes) do
    for _, edge in ipairs(node.outer) do
      local container, block = graph.byRecord[edge.from.record], graph.byRecord[node.record]
      if container and block then edgeOf(container, block).before = edge.count end
    end
  end
  for _, node in ipairs(graph.nodes) do
    for _, edge in ipairs(node.outer) do edge.before = edge.before or 0 end
  end
end

-- The graph with the edits of the options: nodes have `change`, `isEdited` and, if they contain edited references,
-- `containsEdited`; edges have `before` and `isEdited`.
local function marked(document, options)
  local graph = hierarchy.of(document)
  if options.before then compare(graph, options.before) end
  for record, change in pairs(options.changed or {}) do
    if graph.byRecord[record] then graph.byRecord[record].change = change end
  end
  for _, record in ipairs(options.plain or {}) do
    if graph.byRecord[record] then graph.byRecord[record].kind = "block" end
  end
  for record, original in pairs(options.representations or {}) do
    if graph.byRecord[record] then graph.byRecord[record].original = graph.byRecord[original] end
  end
  for _, edit in ipairs(options.edits or {}) do
    local block, container = graph.byRecord[edit.block], graph.byRecord[edit.container]
    if block then block.isEdited = true end
    if container then container.containsEdited = true end
    if block and container then edgeOf(container, block).isEdited = true end
  end
  return graph
end

-- ---- selection

-- The distance of each node from the nearest of `starts`, along `inner` or `outer` edges.
local function distances(starts, direction, most)
  local distance, queue = {}, {}
  for _, node in ipairs(starts) do
    if not distance[node] then
      distance[node] = 0
      table.insert(queue, node)
    end
  end
  for _, node in ipairs(queue) do -- grows while it is walked
    for _, edge in ipairs(distance[node] < most and node[direction] or {}) do
      local next = direction == "inner" and edge.to or edge.from
      if not distance[next] then
        distance[next] = distance[node] + 1
        table.insert(queue, next)
      end
    end
  end
  return distance
end

local function nodesThat(graph, isWanted)
  local found = {}
  for _, node in ipairs(graph.nodes) do
    if isWanted(node) then table.insert(found, node) end
  end
  return found
end

-- Selects the blocks that the edits concern: edited blocks and their ancestors, changed blocks, and the blocks between
-- edited and changed ones.
local function concerned(graph, most)
  local edited = nodesThat(graph, function(node) return node.isEdited end)
  local touched = nodesThat(graph, function(node) return node.isEdited or node.containsEdited end)
  local called = nodesThat(graph, function(node) return node.change ~= nil end)
  local above, below = distances(touched, "outer", math.huge), distances(edited, "inner", math.huge)
  local leadsToCalled = distances(called, "outer", math.huge)
  return function(node)
    if above[node] then return true end
    return (node.change or below[node] and leadsToCalled[node]) and (below[node] or 0) <= most
  end
end

-- Returns a predicate: whether the options select a node.
local function selection(graph, options)
  local most = options.depth or math.huge
  if not options.below and options.edits and #options.edits > 0 and not options.all then
    return concerned(graph, most)
  end
  if not options.below and most == math.huge then return function() return true end end
  local starts = {}
  for _, record in ipairs(options.below or {}) do table.insert(starts, graph.byRecord[record]) end
  if not options.below then starts = nodesThat(graph, function(node) return #node.outer == 0 end) end
  local distance = distances(starts, "inner", most)
  return function(node) return distance[node] ~= nil end
end

local function isLeaf(node)
  local isTouched = node.isEdited or node.containsEdited or node.change == "itself"
  return #node.inner == 0 and not isTouched and node.kind ~= "layout"
end

-- A large picture is hard to read and slow to lay out, and most blocks of a model are leaves.
local mostWithLeaves = 60

-- A view: the graph, the number of its nodes without empty layouts (which are never shown), the shown nodes in table
-- order and as a set, and the number of omitted leaves.
local function viewOf(document, options, isPicture)
  local graph = marked(document, options)
  local isAsked = selection(graph, options)
  local isAnything = function(node) return node.kind ~= "layout" or #node.inner > 0 end
  local asked = nodesThat(graph, function(node) return isAnything(node) and isAsked(node) end)
  local isLarge = isPicture and not options.all and #asked > mostWithLeaves
  local view = { graph = graph, options = options, size = #nodesThat(graph, isAnything), nodes = {}, isShown = {},
    leavesOut = 0 }
  for _, node in ipairs(asked) do
    if (isLarge or options.leaves == false) and isLeaf(node) then
      view.leavesOut = view.leavesOut + 1
    else
      table.insert(view.nodes, node)
      view.isShown[node] = true
    end
  end
  return view
end

function hierarchy.dot(document, options)
  return writeDot(viewOf(document, options or {}, true))
end

function hierarchy.tree(document, options)
  return writeTree(viewOf(document, options or {}, false))
end

-- ---- the command line

hierarchy.commandLine = {
  { "--tree", help = "print a text tree instead of a picture" },
  { "--below", value = "BLOCK", many = true, help = "show only this block and the blocks nested in it (repeatable)" },
  { "--depth", value = "N", help = "show at most N levels, from there, from the edited blocks or from the layouts" },
  { "--no-leaves", help = "omit empty blocks (default for pictures of more than " .. mostWithLeaves .. " blocks)" },
  { "--all", help = "show everything, whatever was edited and however large the model is" },
}

local commandLine = dofile(folder .. "command_line.lua")("hierarchy.lua")
if commandLine.isStarted then
  dofile(folder .. "ldraw_commands.lua")(commandLine, hierarchy).draw(arg)
end
return hierarchy
