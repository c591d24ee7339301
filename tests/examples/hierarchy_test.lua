-- Guards the picture of a hierarchy: every kind of record is told apart, references are counted once, also those
-- in an attached drawing, and any name may appear.
--
--   kzhost hierarchy_test.lua EXAMPLES
local hierarchy = dofile(arg[1] .. "/hierarchy.lua")

local site = host.open("Site")
local grove, tree = site:block("Grove"), site:block("Tree")
for _ = 1, 3 do site:modelSpace():insert(tree) end
for _ = 1, 2 do grove:insert(tree) end

local house = host.open('The "old" house')
local door = house:block('Do\\or "A"')
local wide
door:enhance()
wide = door:represent()
house:modelSpace():insert(door)
house:modelSpace():insert(door)
house:modelSpace():insert(wide)
door:insert(wide):erase()
house:modelSpace():insert(house:attach(site, "Site"))

local text = hierarchy.dot(house, { changed = { [door] = "itself", [wide] = "inside" }, representations = { [wide] = door } })

local function node(record, pattern)
  local line = text:match("\n  r" .. record.id .. " (%[.-%];)\n")
  assert(line and line:find(pattern), record.name .. " is drawn as " .. tostring(line))
end

local function arrows(from, to, count)
  local label = text:match(("\n  r%d %%-> r%d %%[label=\" x (%%d+) \"%%]"):format(from.id, to.id))
  assert(tonumber(label or 0) == count, ("%s to %s: %s, not %d"):format(from.name, to.name, label, count))
end

local model = house:modelSpace()
local grown, drawing = house:find("Site|Grove"), house:find("Site")
node(model, "bold")
node(door, 'label="Do\\\\or \\"A\\"", .*rounded,filled".*f4a259')
node(wide, "dotted.*fbe3b5")
node(drawing, "shape=folder.*white")
node(house:find("Site|Tree"), "dashed")

arrows(model, door, 2)
arrows(model, wide, 1)
arrows(door, wide, 0) -- an erased reference
arrows(drawing, house:find("Site|Tree"), 3)
arrows(grown, house:find("Site|Tree"), 2)
assert(text:find(("r%d -> r%d [style=dotted"):format(wide.id, door.id), 1, true), "the representation leads nowhere")
