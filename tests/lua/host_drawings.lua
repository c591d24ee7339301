-- Guards what scripts see of documents and drawings: identity, order, options, and what closing leaves.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local function names(document)
  local result = {}
  for i, record in ipairs(document:records()) do result[i] = record.name end
  return result
end

local drawing = host.open("Zeichnung \u{1F6AA}")
check.equal(drawing.name, "Zeichnung \u{1F6AA}")
check.equal(names(drawing), {"*Model_Space", "*Paper_Space"})
local space = drawing:modelSpace()

-- The same object is the same value, and works as a key.
local door = drawing:block("Door")
local reference = space:insert(door, {Z = "z", A = "a", ["\u{E4}"] = "umlaut"})
assert(drawing:object(reference.id) == reference and reference.block == door and reference.owner == space)
check.equal(({[door] = "found"})[drawing:find("Door")], "found")
check.equal(drawing:object(999999), nil)
assert(reference:attribute("A").id < reference:attribute("Z").id, "attributes come in order of their tags")
assert(reference:attribute("Z").id < reference:attribute("\u{E4}").id)

-- Attributes: read, edited, added, erased and brought back.
reference:set("A", "new")
local added = reference:add("N", "n")
check.equal({reference:get("A"), reference:get("N"), reference:get("none")}, {"new", "n"})
added:erase()
check.equal(reference:get("N"), nil)
check.raises("erased", function() reference:set("N", "x") end)
reference:attribute("N"):erase(false)
check.equal(reference:get("N"), "n")

-- Copies go beside their source or elsewhere, with live attributes alone; what has left memory is in no list.
reference:attribute("Z"):erase()
local beside, elsewhere = reference:copy(), reference:copy(door)
check.equal({beside:get("A"), beside:attribute("Z")}, {"new"})
check.equal(door:references(), {reference, beside, elsewhere})
assert(beside.owner == space and elsewhere.owner == door)
beside:erase()
check.equal(door:references(true), {beside})
elsewhere:goodbye()
check.equal(door:references(), {reference})
assert(not elsewhere:erased() and elsewhere.id > 0)
check.raises("no longer exists", function() elsewhere:touch() end)

-- Names: found, renamed, and taken while their record could come back.
door:rename("Gate")
check.equal(drawing:find("Door"), nil)
assert(drawing:find("Gate") == door)
local lost = drawing:block("Lost")
lost:erase()
check.equal(drawing:find("Lost"), nil)
check.raises("taken", function() drawing:block("Lost") end)
lost:erase(false)
assert(drawing:find("Lost") == lost)

-- Representations of an enhanced block get names of their own that are free.
drawing:block("*U1")
check.raises("not enhanced", function() door:represent() end)
door:enhance()
check.equal(door:represent().name, "*U2")

-- An attached drawing mirrors the blocks that are its own.
local part = host.open("part")
part:block("Leaf")
part:block("Sheet", {layout = true})
part:block("Own", {dependent = true}) -- whatever it reports, it came with no other drawing
local outer = host.open("outer")
local attachment = outer:attach(part, "p")
check.equal(names(outer), {"*Model_Space", "*Paper_Space", "p", "p|Leaf", "p|Own"})
check.raises("taken", function() outer:attach(part, "p") end)
outer:attach(part, "q")
local leaf = outer:find("p|Leaf")
local there = part:modelSpace():insert(part:find("Leaf"))
check.equal(leaf:references(), {there})
local chain = host.open("chain")
chain:attach(outer, "o")
check.equal(names(chain), {"*Model_Space", "*Paper_Space", "o"}, "what the other drawing has attached is left out")
chain:close()
part:close()
check.equal(leaf:references(), {})
check.equal(attachment.name, "p")

-- Documents: in order of opening, and the last one of the others becomes current.
check.equal(host.documents(), {drawing, outer})
assert(host.current() == outer)
host.current(drawing)
drawing:close()
assert(host.current() == outer)
local empty = host.open("empty", {database = false})
check.raises("drawing", function() empty:modelSpace() end)

-- A command's results and errors pass through it, and it has ended either way.
check.equal({host.command("ADD", function() return 1, 2 end)}, {1, 2})
check.raises("inside", function() host.command("FAIL", function() error("inside") end) end)
host.command("CLOSE", function() empty:close() end)
for _, each in ipairs(host.documents()) do each:close() end
check.equal(host.current(), nil)

-- The clock is virtual and wraps around.
host.ticks(0xFFFFFFFF)
host.advance(3)
check.equal(host.ticks(), 2)
