-- Draws which blocks of a drawing lie in which, as text for Graphviz.
--
--   kzhost examples/hierarchy.lua MODEL.mpd | dot -Tsvg -o model.svg
--
-- In another script:
--
--   local hierarchy = dofile("examples/hierarchy.lua")
--   file:write(hierarchy.dot(document, { changed = { [record] = "itself" } }))
local hierarchy = {}

local styles = {
  block = 'shape=box, style="rounded,filled"',
  layout = 'shape=box, style="filled,bold", penwidth=2',
  external = 'shape=folder, style="filled"',
  dependent = 'shape=box, style="rounded,filled,dashed"',
  representation = 'shape=box, style="rounded,filled,dotted", penwidth=1.6',
}
local colours = { itself = "#f4a259", inside = "#fbe3b5" } -- of changed blocks; the others are white

local function quoted(text)
  return '"' .. text:gsub('[\\"]', "\\%0") .. '"'
end

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
local function containerOf(reference, block, names, isHere)
  local owner = reference.owner
  if isHere[owner] then return owner end
  local drawing = block.name:match("^(.-)|")
  if not drawing then return nil end
  return names.record[drawing .. "|" .. owner.name] or names.record[drawing]
end

-- An arrow for each container of a block, with the number of references in it.
local function putArrows(put, block, names, isHere)
  local containers, times = {}, {}
  for _, reference in ipairs(block:references()) do
    local container = containerOf(reference, block, names, isHere)
    if container and not times[container] then table.insert(containers, container) end
    if container then times[container] = (times[container] or 0) + 1 end
  end
  for _, container in ipairs(containers) do
    put(('  r%d -> r%d [label=" x %d "];\n'):format(container.id, block.id, times[container]))
  end
end

local legend = {
  { "layout", nil, "layout" },
  { "external", nil, "attached drawing" },
  { "dependent", nil, "its block" },
  { "representation", nil, "representation" },
  { "block", "itself", "changed" },
  { "block", "inside", "lies in a changed one" },
}

local function node(name, label, kind, change)
  return ("  %s [label=%s, %s, fillcolor=%s];\n"):format(name, quoted(label), styles[kind],
    quoted(colours[change] or "white"))
end

local function writeLegend(put)
  put('  subgraph cluster_legend {\n  label="key"; fontsize=10; color=gray;\n')
  for at, entry in ipairs(legend) do put(node("legend" .. at, entry[3], entry[1], entry[2])) end
  for at = 2, #legend do put(("  legend%d -> legend%d [style=invis];\n"):format(at - 1, at)) end
  put("  }\n")
end

-- The hierarchy of a drawing in the language of Graphviz. Options, all of them optional:
--   changed          how records changed: "itself", or "inside" for one that lies in a changed block
--   representations  the enhanced block that a representation stands for, by representation
function hierarchy.dot(document, options)
  local changed = options and options.changed or {}
  local originals = options and options.representations or {}
  local records = document:records()
  local names, isHere = namesOf(records), {}
  local parts = {}
  local function put(text) table.insert(parts, text) end
  put("digraph " .. quoted(document.name) .. " {\n")
  put("  rankdir=LR; nodesep=0.25; ranksep=0.7;\n")
  put("  node [fontname=Helvetica, fontsize=11]; edge [fontname=Helvetica, fontsize=10, color=gray30];\n")
  for _, record in ipairs(records) do
    isHere[record] = true
    put(node("r" .. record.id, record.name, kindOf(record, names), changed[record]))
  end
  for _, record in ipairs(records) do
    putArrows(put, record, names, isHere)
    local original = originals[record]
    if original then
      put(('  r%d -> r%d [style=dotted, arrowhead=none, label=" stands for "];\n'):format(record.id, original.id))
    end
  end
  writeLegend(put)
  put("}\n")
  return table.concat(parts)
end

local function main()
  local folder = arg[0]:match("^.*/") or "./"
  local ldraw = dofile(folder .. "ldraw_model.lua")
  if #arg ~= 1 then
    io.stderr:write("usage: kzhost examples/hierarchy.lua MODEL.mpd\n")
    os.exit(2)
  end
  local model, refusal = ldraw.read(arg[1])
  if not model then
    io.stderr:write(refusal, "\n")
    os.exit(1)
  end
  io.write(hierarchy.dot(ldraw.draw(model, host.open(arg[1])).document))
end

if arg[0]:match("hierarchy%.lua$") then main() end
return hierarchy
