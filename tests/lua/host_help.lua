-- Guards what the host says about itself: everything that scripts can reach is described, every example runs, and the
-- help, docs/kzhost.md and the declarations for editors say the same.

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

-- The page is the one in docs, and every example of it runs.
local page = printed("--reference")
check.equal(page == read(assert(io.open(folder .. "/../../docs/kzhost.md"))), true,
  "docs/kzhost.md is what kzhost --reference prints")
local described = {}
for name, text in page:gmatch("\n### `([%w:.]+).-`\n(.-)```lua\n") do described[name] = text end
for name, example in page:gmatch("\n### `([%w:.]+).-```lua\n(.-)\n```") do
  setUp()
  local chunk = assert(load(example, "=the example of " .. name))
  if name == "host.load" then host.unload() end
  if name ~= "help" then output(chunk) end
end

-- What can be reached is described, with more than a word or two.
setUp()
local reached = {help = "help"}
for name in pairs(host) do reached[name] = "host." .. name end
for kind, value in pairs({document = house, record = door, reference = placed, attribute = number}) do
  local _, methods = debug.getupvalue(debug.getmetatable(value).__index, 1)
  for name in pairs(methods) do
    reached[kind .. name] = described["object:" .. name] and "object:" .. name or kind .. ":" .. name
  end
end
for name in pairs(debug.getuservalue(zelvane, 1)) do reached["m" .. name] = "module." .. name end
local asked = {}
for _, name in pairs(reached) do
  assert(described[name] and #described[name] > 30, name .. " has no description")
  asked[#asked + 1] = ("help(%q)"):format(name)
end
local _, helped = printed("-e '" .. table.concat(asked, " ") .. "'"):gsub("\n  > ", "")
check.equal(helped, #asked, "how many have a help")

-- The declarations are complete, and are Lua.
local declarations = printed("--declarations")
assert(load(declarations))
for name in pairs(described) do
  local isFunction = declarations:find("function " .. name .. "(", 1, true)
  local field = "---@field " .. name:match("%w+$") .. " "
  assert(isFunction or declarations:find(field, 1, true), name .. " is not declared")
end

-- Help by value, by name, and of what it does not know.
local withValues = printed([[-e 'd = host.open("d") help(host.idle) help(d) help(d.block) help(host.load()) help(print)']])
for _, text in ipairs({"host.idle()\n", "gives taken (count)", "document:attach(other, name)", "document:block(name",
  "module.kzdxGetKzDbTableIds(document [, ids])", "Nothing is known about it"}) do
  assert(withValues:find(text, 1, true), text)
end
