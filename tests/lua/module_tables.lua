-- Guards the table queries: which records count as table blocks, in which order, and that results are appended.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local module = assert(host.load())
local drawing = host.open("tables")
local space = drawing:modelSpace()

local function ids(objects)
  local list = {}
  for at, object in ipairs(objects) do list[at] = object.id end
  return list
end

local second = drawing:block("*T2")
local plain = drawing:block("TT")
local lower = drawing:block("*t1")
local short = drawing:block("*")
local first = drawing:block("*T1")
local odd = drawing:block("*T", {anonymous = false})
local layout = drawing:block("*T_Layout", {layout = true})
local dependent = drawing:block("*T9", {dependent = true})
local named = drawing:block("XT", {anonymous = true})

local inFirst = space:insert(first)
for _, block in ipairs({plain, lower, short, odd, layout, dependent}) do space:insert(block) end
local inSecond = {space:insert(second), plain:insert(second)}

local result, records = module.kzdxGetBlockRecordIdsOfKzDbTables(drawing)
check.equal(result, 1)
check.equal(records, ids({second, first, named}))
result, records = module.kzdxGetKzDbTableIds(drawing)
check.equal(result, 1)
check.equal(records, ids({inSecond[1], inSecond[2], inFirst}), "grouped by record")

-- Appended behind what was there.
result, records = module.kzdxGetKzDbTableIds(drawing, {plain, 17})
check.equal(records, {plain.id, 17, inSecond[1].id, inSecond[2].id, inFirst.id})

-- Erased references and records, and a record that is held open.
inSecond[1]:erase()
first:erase()
named:open()
result, records = module.kzdxGetBlockRecordIdsOfKzDbTables(drawing)
check.equal({result, records}, {1, ids({second})})
check.equal({module.kzdxGetKzDbTableIds(drawing)}, {1, ids({inSecond[2]})})
named:close()

-- Nothing to find.
local empty = host.open("empty")
check.equal({module.kzdxGetKzDbTableIds(empty, {5})}, {1, {5}})
host.unload()
