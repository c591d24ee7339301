-- Writes a view of a hierarchy as a text tree, each block below its container:
--
--   *Model_Space
--   └── wagon.mpd
--       ├── bogie.ldr ×2
--       └── frame.ldr
--
-- The content of a block is printed at its first occurrence; "(*)" marks the others. At the maximum depth, "(...)" marks
-- a block whose content is printed further down, as a root.
local mostLevels = 40
local changes = { itself = " [changed]", inside = " [nested in a changed block]" }

local Tree = {}
Tree.__index = Tree

-- The edges to shown content of a node.
function Tree:shownIn(node)
  local shown = {}
  for _, edge in ipairs(node.inner) do
    if self.view.isShown[edge.to] then table.insert(shown, edge) end
  end
  return shown
end

-- Adds the line of a node and the lines of its content. `edge` leads to the node; nil for a root.
function Tree:put(node, edge, level, first, rest)
  local inner = self:shownIn(node)
  local isAgain = self.isPrinted[node] and #inner > 0
  local isLater = not isAgain and level == mostLevels and #inner > 0
  local count = edge and edge:text()
  table.insert(self.lines, table.concat({ first, node.name, count and " " .. count or "",
    edge and edge:isMarked() and edge.before ~= 0 and edge.count == 0 and "" or changes[node.change] or "",
    isAgain and " (*)" or isLater and " (...)" or "" }))
  self.hasRepeated = self.hasRepeated or isAgain
  if isLater then table.insert(self.later, node) end
  if isAgain or isLater then return end
  self.isPrinted[node] = true
  for at, each in ipairs(inner) do
    local isLast = at == #inner
    self:put(each.to, each, level + 1, rest .. (isLast and "└── " or "├── "), rest .. (isLast and "    " or "│   "))
  end
end

-- Adds a root with its content, then the blocks that were too deep.
function Tree:putRoot(node)
  if self.isPrinted[node] then return end
  self:put(node, nil, 0, "", "")
  local at = 1
  while self.later[at] do -- grows while it is walked
    if not self.isPrinted[self.later[at]] then self:put(self.later[at], nil, 0, "", "") end
    at = at + 1
  end
  self.hasLater = self.hasLater or at > 1
  self.later = {}
end

local function isPlacedInShown(view, node)
  for _, edge in ipairs(node.outer) do
    if view.isShown[edge.from] then return true end
  end
  return false
end

-- Returns the tree as text. A cycle of blocks has no root: its first block is printed as a root.
return function(view)
  local tree = setmetatable({ view = view, lines = {}, isPrinted = {}, later = {} }, Tree)
  for _, node in ipairs(view.nodes) do
    if not isPlacedInShown(view, node) then tree:putRoot(node) end
  end
  for _, node in ipairs(view.nodes) do tree:putRoot(node) end
  if view.leavesOut > 0 then
    table.insert(tree.lines, ("%d empty blocks omitted"):format(view.leavesOut))
  end
  if tree.hasRepeated then table.insert(tree.lines, "(*) printed above") end
  if tree.hasLater then table.insert(tree.lines, "(...) printed below") end
  return table.concat(tree.lines, "\n") .. "\n"
end
