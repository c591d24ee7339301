-- Guards the descriptions of the Lua interface: everything that scripts can reach is described, everything described
-- exists, every example runs, and docs/kzhost.md is made of them.

local folder = arg[0]:match("^(.*)/")
package.path = folder .. "/?.lua;" .. package.path
local check = require("check")
local kzhost = arg[-1]

local function read(file)
  local text = file:read("a")
  file:close()
  return text
end

local function printed(words) return read(io.popen(("%q %s 2>&1"):format(kzhost, words))) end

-- What the examples begin with. Each has a drawing of its own.
local function setUp()
  for _, document in ipairs(host.documents()) do document:close() end
  host.unload()
  house = host.open("house")
  door, room = house:block("Door"), house:block("Room")
  placed = room:insert(door, {NUMBER = "1.17"})
  number = placed:attribute("NUMBER")
  client = host.client(function() end, "Door")
  zelvane = assert(host.load())
end

-- The prints of one piece of Lua.
local function output(chunk)
  local lines, print_ = {}, print
  print = function(...) lines[#lines + 1] = table.concat({tostring((...))}, "\t") end
  local ok, message = pcall(chunk)
  print = print_
  assert(ok, message)
  return lines
end

-- The page is up to date.
local page = printed(("%q"):format(folder .. "/../../scripts/kzhost_page.lua"))
check.equal(page == read(assert(io.open(folder .. "/../../docs/kzhost.md"))), true,
  "docs/kzhost.md is what scripts/kzhost_page.lua prints")

-- Every function and field is described, with more than a word or two; every example runs.
local declarations = printed("--declarations")
assert(load(declarations))
local described = {}
for comment, name in declarations:gmatch("\n\n(%-%-%-[^\n]*\n.-)function ([%w.:]+)%(") do
  comment = comment:match(".*\n\n(.*)") or comment
  described[name] = true
  assert(#comment > 50, name .. " has hardly a description")
  setUp()
  local example = assert(comment:match("Example: `(.-)`\n"), name .. " has no example")
  if name == "host.load" then host.unload() end
  if name ~= "help" then output(assert(load(example, "=the example of " .. name))) end
end
for class, fields in declarations:gmatch("%-%-%-@class (%w+)[^\n]*\n(.-)\n%l") do
  for field in fields:gmatch("%-%-%-@field (%w+) ") do described[class .. "." .. field] = true end
end

-- What can be reached, by the same names.
setUp()
local reached = {help = true, traceback = true}
local function reach(table, owner)
  for name in pairs(table) do reached[owner .. name] = true end
end
reach(host, "host.")
reach(debug.getuservalue(zelvane, 1), "module.")
local kinds = {document = house, record = door, reference = placed, attribute = number, client = client}
for kind, value in pairs(kinds) do
  local meta = debug.getmetatable(value)
  reach(meta.methods, kind .. ":")
  reach(meta.fields, kind .. ".")
end
for name in pairs(reached) do
  local inherited = "object" .. (name:match("[.:]%w+") or "")
  assert(described[name] or described[inherited], name .. " is not described")
end
for name in pairs(described) do
  assert(reached[name] or reached[(name:gsub("^object", "record"))], name .. " does not exist")
end

-- Help by value, by name, and for what is unknown.
local withValues = printed([[-e 'd = host.open("d") help(host.idle) help(d) help(d.block) help(host.load()) help(print) help(nil)']])
for _, text in ipairs({"host.idle()\n", "returns `taken` (`integer`)", "document:attach(other, name)",
  "document:block(name [, options])\n", "module.kzdxGetKzDbTableIds(document [, ids])", "No help for that", "No help for nil"}) do
  assert(withValues:find(text, 1, true), text)
end
