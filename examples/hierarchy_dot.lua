-- Writes a view of a hierarchy in the language of Graphviz.
local shapes = {
  block = 'shape=box, style="rounded,filled"',
  layout = 'shape=box, style="filled,bold", penwidth=2',
  external = 'shape=folder, style="filled"',
  dependent = 'shape=box, style="rounded,filled,dashed"',
  representation = 'shape=box, style="rounded,filled,dotted", penwidth=1.6',
}
local colours = { itself = "#f4a259", inside = "#fbe3b5" } -- of changed blocks; the others are white
local markColour = "#b3261e" -- of edges whose references were edited

-- The kinds of nodes and edges that the key explains if they occur.
local kinds = {
  { "layout", "layout" },
  { "external", "attached drawing" },
  { "dependent", "dependent block" },
  { "representation", "representation" },
}
local changes = { { "itself", "called: changed" }, { "inside", "called: nested in it" } }

-- With more edges than this, counts are tooltips: labels would make the layout slow and wide.
local mostLabels = 60
local mostLetters = 40 -- of a name

local entities = { ["&"] = "&amp;", ["<"] = "&lt;", [">"] = "&gt;", ['"'] = "&quot;" }

-- XML allows no control characters, not even escaped: they are replaced by their Unicode symbols.
local function withoutControls(text)
  text = text:gsub("[\0-\x1F]", function(byte) return utf8.char(0x2400 + byte:byte()) end)
  return (text:gsub("\xEF\xBF[\xBE\xBF]", "\u{FFFD}"))
end

-- Graphviz reads "&amp;" as "&", inside quotes too.
local function quoted(text)
  return '"' .. withoutControls(text):gsub("&", "&amp;"):gsub('[\\"]', "\\%0") .. '"'
end

local function escaped(text)
  return (withoutControls(text):gsub('[&<>"]', entities))
end

local function shortened(name)
  if utf8.len(name) <= mostLetters then return name end
  return name:sub(1, utf8.offset(name, mostLetters) - 1) .. "…"
end

local function plural(count, one, many)
  return count .. " " .. (count == 1 and one or many)
end

-- ---- nodes

local function nodeTooltip(node)
  return ("%s: placed %s, contains %s"):format(node.name, plural(node:placed(), "time", "times"),
    plural(node:contains(), "reference", "references"))
end

local function nodeText(id, label, kind, change, tooltip)
  return ("  %s [label=%s, tooltip=%s, %s, fillcolor=%s];\n"):format(id, quoted(label), quoted(tooltip), shapes[kind],
    quoted(colours[change] or "white"))
end

-- ---- edges

local function edgesOf(view)
  local edges = {}
  for _, node in ipairs(view.nodes) do
    for _, edge in ipairs(node.outer) do
      if view.isShown[edge.from] then table.insert(edges, edge) end
    end
  end
  return edges
end

local function edgeText(edge, hasLabel)
  local parts = {}
  local text = edge:text()
  local tooltip = ("%s of %s in %s"):format(plural(edge.count, "reference", "references"), edge.to.name, edge.from.name)
  if text and (hasLabel or edge:isMarked()) then table.insert(parts, "label=" .. quoted(" " .. text .. " ")) end
  table.insert(parts, "tooltip=" .. quoted(tooltip) .. ", labeltooltip=" .. quoted(tooltip))
  if edge:isMarked() then
    table.insert(parts, ("color=%q, fontcolor=%q, penwidth=2.2"):format(markColour, markColour))
    if edge.count == 0 then table.insert(parts, "style=dashed") end
  end
  return ("  r%d -> r%d [%s];\n"):format(edge.from.record.id, edge.to.record.id, table.concat(parts, ", "))
end

local function representationText(node)
  return ('  r%d -> r%d [style=dotted, arrowhead=none, label=" represents "];\n'):format(node.record.id,
    node.original.record.id)
end

-- ---- title and key

-- The texts of the first three edits.
local function editsText(edits)
  local texts = {}
  for at, edit in ipairs(edits or {}) do
    if at > 3 then
      table.insert(texts, "and " .. #edits - 3 .. " more")
      break
    end
    table.insert(texts, edit.text)
  end
  return table.concat(texts, "; ")
end

local function sizeText(view)
  local all, shown = view.size, #view.nodes
  local text = shown == all and plural(all, "block", "blocks") or ("%d of %d blocks"):format(shown, all)
  if view.leavesOut == 0 then return text end
  return text .. (", %d empty blocks omitted"):format(view.leavesOut)
end

local function title(view)
  local lines = { "<B>" .. escaped(view.graph.name) .. "</B>" }
  local edits = editsText(view.options.edits)
  if edits ~= "" then table.insert(lines, escaped(edits)) end
  table.insert(lines, '<FONT POINT-SIZE="10">' .. sizeText(view) .. "</FONT>")
  return "<" .. table.concat(lines, '<BR ALIGN="LEFT"/>') .. '<BR ALIGN="LEFT"/>>'
end

-- The entries of the key, for the kinds that occur: node texts.
local function keyEntries(view, edges)
  local occurs, entries = {}, {}
  for _, node in ipairs(view.nodes) do
    occurs[node.kind] = true
    if node.change then occurs[node.change] = true end
  end
  for _, edge in ipairs(edges) do occurs.mark = occurs.mark or edge:isMarked() end
  local function add(name, kind, change, text)
    if occurs[name] then table.insert(entries, nodeText("key" .. #entries + 1, text, kind, change, text)) end
  end
  for _, each in ipairs(kinds) do add(each[1], each[1], nil, each[2]) end
  for _, each in ipairs(changes) do add(each[1], "block", each[1], each[2]) end
  if occurs.mark then
    table.insert(entries, ('  key%d [label="edited references", shape=plain, fontcolor=%q];\n'):format(#entries + 1,
      markColour))
  end
  return entries
end

-- Writes the key, in two rows. A single entry would be a layout, which its name explains.
local function putKey(put, view, edges)
  local entries = keyEntries(view, edges)
  if #entries < 2 then return end
  put('  subgraph cluster_key {\n  label="key"; fontname=Helvetica; fontsize=10; color=gray;\n')
  put(table.concat(entries))
  for at = 3, #entries do put(("  key%d -> key%d [style=invis];\n"):format(at - 2, at)) end
  put("  }\n")
end

return function(view)
  local parts, edges = {}, edgesOf(view)
  local function put(text) table.insert(parts, text) end
  put("digraph " .. quoted(view.graph.name) .. " {\n")
  put("  rankdir=LR; nodesep=0.2; ranksep=0.7; labelloc=t; labeljust=l; fontname=Helvetica; fontsize=13;\n")
  put("  label=" .. title(view) .. ";\n")
  put("  node [fontname=Helvetica, fontsize=11, height=0.35]; edge [fontname=Helvetica, fontsize=10, color=gray30];\n")
  putKey(put, view, edges)
  for _, node in ipairs(view.nodes) do
    put(nodeText("r" .. node.record.id, shortened(node.name), node.kind, node.change, nodeTooltip(node)))
  end
  for _, edge in ipairs(edges) do put(edgeText(edge, #edges <= mostLabels)) end
  for _, node in ipairs(view.nodes) do
    if node.original and view.isShown[node.original] then put(representationText(node)) end
  end
  put("}\n")
  return table.concat(parts)
end
