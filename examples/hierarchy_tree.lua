-- Writes a view of a hierarchy as a tree of text, each block below what holds it:
--
--   *Model_Space
--   └── wagon.mpd
--       ├── bogie.ldr ×2
--       └── frame.ldr
--
-- A block that holds something is unfolded where it comes first; "(*)" marks it where it comes again.
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
function Tree:put(node, edge, first, rest)
  local inner = self:shownIn(node)
  local isAgain = self.isUnfolded[node] and #inner > 0
  local count = edge and edge:text()
  table.insert(self.lines, table.concat({ first, node.name, count and " " .. count or "",
    edge and edge:isMarked() and edge.before ~= 0 and edge.count == 0 and "" or changes[node.change] or "",
    isAgain and " (*)" or "" }))
  self.hasRepeated = self.hasRepeated or isAgain
  if isAgain then return end
  self.isUnfolded[node] = true
  for at, each in ipairs(inner) do
    local isLast = at == #inner
    self:put(each.to, each, rest .. (isLast and "└── " or "├── "), rest .. (isLast and "    " or "│   "))
  end
end

local function isPlacedInShown(view, node)
  for _, edge in ipairs(node.outer) do
    if view.isShown[edge.from] then return true end
  end
  return false
end

-- The tree as text. Blocks that hold each other in a ring have no root: the first of them serves as one.
return function(view)
  local tree = setmetatable({ view = view, lines = {}, isUnfolded = {} }, Tree)
  for _, node in ipairs(view.nodes) do
    if not isPlacedInShown(view, node) then tree:put(node, nil, "", "") end
  end
  for _, node in ipairs(view.nodes) do
    if not tree.isUnfolded[node] then tree:put(node, nil, "", "") end
  end
  if view.leavesOut > 0 then
    table.insert(tree.lines, ("without %d blocks that hold nothing"):format(view.leavesOut))
  end
  if tree.hasRepeated then table.insert(tree.lines, "(*) unfolded above") end
  return table.concat(tree.lines, "\n") .. "\n"
end
