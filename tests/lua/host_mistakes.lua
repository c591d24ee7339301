-- Guards against script mistakes: each raises an error that says what was expected and what came, at the line of
-- the script; none ends the host.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local drawing = host.open("drawing")
local closed = host.open("closed")
local ghost = closed:modelSpace()
closed:close()
local space = drawing:modelSpace()
local block = drawing:block("B")
local reference = space:insert(block)

check.raises("expected a string, got nil", function() host.open(nil) end)
check.raises("argument 1: expected a string, got nothing", function() host.open() end)
check.raises("expected a string, got 5", function() host.open(5) end)
check.raises('expected the option database, got the string "drawing"', function() host.open("a", {drawing = false}) end)
check.raises("of valid UTF-8", function() host.open("\xFF") end)
check.raises("null character", function() drawing:block("a\0b") end)
check.raises("cannot be empty", function() drawing:block("") end)
check.raises("expected the options", function() drawing:block("X", {layuot = true}) end)
check.raises("got a closed document", function() closed:block("X") end)
check.raises("got a closed document", function() host.current(closed) end)
check.raises("got a closed document", function() return closed.name end)
check.raises("drawing that is closed", function() ghost:touch() end)
check.raises("drawing that is closed", function() ghost:erased() end)
check.raises("argument 1: expected a record, got reference", function() space:insert(reference) end)
check.raises("reference:copy: expected a reference, got record", function() reference.copy(space) end)
check.raises("insert: expected a string, got 5", function() space:insert(block, {TAG = 5}) end)
check.raises("expected a table of texts by tag", function() space:insert(block, {"x"}) end)
check.raises("no attribute of that tag", function() reference:set("none", "x") end)
check.raises("expected an integer, got 1.5", function() host.ticks(1.5) end)
check.raises("expected a function", function() host.client("print") end)
check.raises('"filter", "manager"', function() host.refuse("everything", true) end)
check.raises("argument 2: expected a boolean", function() host.refuse("filter") end)
check.raises("held open", function() reference:open(); reference:open() end)
check.raises("held open", function() reference:move(block) end)
check.raises("held open", function() host.unload() end)
reference:close()
check.raises("not held open", function() reference:close() end)
check.equal({host.unload()}, {0}, "nothing is loaded")
local module, message = host.load("/nothing/there.hmx")
check.equal(module, nil)
assert(type(message) == "string" and message:find("there.hmx", 1, true), message)
check.raises("host_mistakes.lua:", function() space:insert(nil) end)

-- A list that pretends to have items runs no code of its own: it could close the document that goes with it.
do
  local loaded = assert(host.load())
  local list = setmetatable({}, {__len = function() return 1 end, __index = function() drawing:close() end})
  check.equal({loaded.kzdxGetKzDbTableIds(drawing, list)}, {1, {}})
  check.equal(host.unload(loaded), 0)
end
