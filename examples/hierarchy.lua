-- Which blocks of a drawing lie in which, as a picture (text for Graphviz) or as a tree of text.
--
--   kzhost examples/hierarchy.lua MODEL [OPTION]... [EDIT]... | dot -Tsvg -o model.svg
--   kzhost examples/hierarchy.lua MODEL --tree
--
-- MODEL and EDITs are those of ldraw.lua; --help says what the options are. In another script, or at a prompt:
--
--   hierarchy = dofile("examples/hierarchy.lua")
--   print(hierarchy.tree(document))
--   file:write(hierarchy.dot(document, { edits = { { block = door, container = room, text = "a door more" } } }))
--
-- The options of hierarchy.dot and hierarchy.tree, all of them optional:
--   edits            a list of what was edited: the block, the container of the edited reference if it was one, and
--                    a text for the title. With edits, only what they concern is drawn
--   before           hierarchy.of(document) from before the edits: tells which counts have changed
--   changed          how called records changed: "itself", or "inside" for one that lies in a changed block
--   representations  the enhanced block that a representation stands for, by representation
--   plain            a list of records that are plain blocks, whatever their names
--   below            a list of records: these, and what lies in them
--   depth            so many levels down from there, from the edited blocks or from the layouts
--   leaves = false   without the blocks that hold nothing
--   all              everything, whatever was edited and however much it is
local folder = debug.getinfo(1, "S").source:match("^@(.*/)") or "./"
local writeDot, writeTree = dofile(folder .. "hierarchy_dot.lua"), dofile(folder .. "hierarchy_tree.lua")
local hierarchy = {}

-- ---- edges

local Edge = {}
Edge.__index = Edge

-- Whether an edit made, took away or changed references of this block in this container.
function Edge:isMarked()
  return self.isEdited or self.before ~= nil and self.before ~= self.count
end

-- What stands at the edge: nil when a single reference is placed, as it was before.
function Edge:text()
  local before, times = self.before or self.count, self.count > 1 and "×" .. self.count or nil
  if before ~= self.count then
    if before == 0 then return times and "new, " .. times or "new" end
    return self.count == 0 and "gone" or ("×%d → %d"):format(before, self.count)
  end
  if self.isEdited then return times and times .. ", edited" or "edited" end
  return times
end

-- ---- who lies in whom

local Node = {}
Node.__index = Node

local function sumOf(edges)
  local sum = 0
  for _, edge in ipairs(edges) do sum = sum + edge.count end
  return sum
end

-- How many references insert the block, and how many it holds.
function Node:placed() return sumOf(self.outer) end
function Node:holds() return sumOf(self.inner) end

-- Scripts do not see what a record is, but the names of the host tell: layouts and representations are named by
-- it, and "SITE|TREE" came with the attached drawing SITE.
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

-- The record of this drawing that shows where a reference is placed. What lies in an attached drawing is seen
-- through the records that came with it; nil when none of them shows it.
local function containerOf(reference, block, names, byRecord)
  local owner = reference.owner
  if byRecord[owner] then return owner end
  local drawing = block.name:match("^(.-)|")
  if not drawing then return nil end
  return names.record[drawing .. "|" .. owner.name] or names.record[drawing]
end

-- The edge "block in container", made when it is not there yet.
local function edgeOf(container, block)
  local edge = block.edgeFrom[container]
  if edge then return edge end
  edge = setmetatable({ from = container, to = block, count = 0 }, Edge)
  block.edgeFrom[container] = edge
  table.insert(block.outer, edge)
  table.insert(container.inner, edge)
  return edge
end

-- A graph of the drawing as it is now. A node for each record, in table order: its record, name and kind, and its
-- edges `inner` (what it holds) and `outer` (where it is placed), each with the number of references.
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

-- ---- what was edited

-- Gives every edge the count that it had; those that are gone come back with the count 0.
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

-- The graph with all that the options tell of edits: on nodes `change`, `isEdited` and, of containers of edited
-- references, `holdsEdited`; on edges `before` and `isEdited`.
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
    if container then container.holdsEdited = true end
    if block and container then edgeOf(container, block).isEdited = true end
  end
  return graph
end

-- ---- what of it is shown

-- How far each node is from the nearest of `starts`, along `inner` or `outer` edges.
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

-- What the edits concern: the edited, what contains them, the called, and what lies between edited and called.
local function concerned(graph, most)
  local edited = nodesThat(graph, function(node) return node.isEdited end)
  local touched = nodesThat(graph, function(node) return node.isEdited or node.holdsEdited end)
  local called = nodesThat(graph, function(node) return node.change ~= nil end)
  local above, below = distances(touched, "outer", math.huge), distances(edited, "inner", math.huge)
  local leadsToCalled = distances(called, "outer", math.huge)
  return function(node)
    if above[node] then return true end
    return (node.change or below[node] and leadsToCalled[node]) and (below[node] or 0) <= most
  end
end

-- Whether a node is among what the options ask for.
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
  local isTouched = node.isEdited or node.holdsEdited or node.change == "itself"
  return #node.inner == 0 and not isTouched and node.kind ~= "layout"
end

-- A large picture is hard to read and takes long to lay out, and most of a model are leaves.
local mostWithLeaves = 60

-- A view: the graph, how many nodes it has without empty layouts, which are never shown, the shown nodes in table
-- order and as a set, and how many leaves were left out.
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
  { "--tree", help = "a tree of text in place of a picture" },
  { "--below", value = "BLOCK", many = true, help = "this block and what lies in it; may come again" },
  { "--depth", value = "N", help = "N levels down from there, from the edited blocks or from the layouts" },
  { "--no-leaves", help = "without the blocks that hold nothing, as pictures of more than " .. mostWithLeaves
    .. " blocks are anyway" },
  { "--all", help = "everything, whatever the edits concern and however much it is" },
}

local commandLine = dofile(folder .. "command_line.lua")("hierarchy.lua")
if commandLine.isStarted then
  dofile(folder .. "ldraw_commands.lua")(commandLine, hierarchy).draw(arg)
end
return hierarchy
