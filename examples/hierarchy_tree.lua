-- Writes a view of a hierarchy as a tree of text, each block below what holds it:
--
--   *Model_Space
--   └── wagon.mpd
--       ├── bogie.ldr ×2
--       └── frame.ldr
--
-- A block that holds something is unfolded where it comes first; "(*)" marks it where it comes again. Far to the
-- right, "(...)" marks a block that is unfolded below, at the left again.
local mostLevels = 40
local changes = { itself = " [changed]", inside = " [inside a changed block]" }

local Tree = {}
Tree.__index = Tree

function Tree:shownIn(node)
  local shown = {}
  for _, edge in ipairs(node.inner) do
    if self.view.isShown[edge.to] then table.insert(shown, edge) end
  end
  return shown
end

-- A line for a node, reached by an edge when it is not a root, and the lines of what it holds.
function Tree:put(node, edge, level, first, rest)
  local inner = self:shownIn(node)
  local isAgain = self.isUnfolded[node] and #inner > 0
  local isLater = not isAgain and level == mostLevels and #inner > 0
  local count = edge and edge:text()
  table.insert(self.lines, table.concat({ first, node.name, count and " " .. count or "",
    edge and edge:isMarked() and edge.before ~= 0 and edge.count == 0 and "" or changes[node.change] or "",
    isAgain and " (*)" or isLater and " (...)" or "" }))
  self.hasRepeated = self.hasRepeated or isAgain
  if isLater then table.insert(self.later, node) end
  if isAgain or isLater then return end
  self.isUnfolded[node] = true
  for at, each in ipairs(inner) do
    local isLast = at == #inner
    self:put(each.to, each, level + 1, rest .. (isLast and "└── " or "├── "), rest .. (isLast and "    " or "│   "))
  end
end

-- A root with all below it, also what is too far to the right for its place.
function Tree:putRoot(node)
  if self.isUnfolded[node] then return end
  self:put(node, nil, 0, "", "")
  local at = 1
  while self.later[at] do -- grows while it is walked
    if not self.isUnfolded[self.later[at]] then self:put(self.later[at], nil, 0, "", "") end
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

-- The tree as text. Blocks that hold each other in a ring have no root: the first of them serves as one.
return function(view)
  local tree = setmetatable({ view = view, lines = {}, isUnfolded = {}, later = {} }, Tree)
  for _, node in ipairs(view.nodes) do
    if not isPlacedInShown(view, node) then tree:putRoot(node) end
  end
  for _, node in ipairs(view.nodes) do tree:putRoot(node) end
  if view.leavesOut > 0 then
    table.insert(tree.lines, ("without %d blocks that hold nothing"):format(view.leavesOut))
  end
  if tree.hasRepeated then table.insert(tree.lines, "(*) unfolded above") end
  if tree.hasLater then table.insert(tree.lines, "(...) unfolded below") end
  return table.concat(tree.lines, "\n") .. "\n"
end
