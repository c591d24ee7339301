-- Guards the example client: it prints what changed, and handles the end of the module, the document and the client in
-- any order.
--
--   kzhost blockwatch_test.lua BLOCKWATCH.HMX [NUMBER]     NUMBER: only this case, and nothing is compared
local watcher, only = arg[1], tonumber(arg[2])
local number = 0

-- What is printed by a case in a host of its own.
local function printed(work)
  local command = ('"%s" "%s" "%s" %d 2>&1'):format(arg[-1], arg[0], watcher, work)
  local isWindows = package.config:sub(1, 1) == "\\" -- whose shell takes the outermost quotes away
  local pipe = assert(io.popen(isWindows and '"' .. command .. '"' or command))
  local output = pipe:read("a")
  assert(pipe:close(), output)
  return output
end

local drawing = [[
  local house = host.open("house")
  local door, room = house:block("Door"), house:block("Room")
  local first = room:insert(door, { NUMBER = "1" })
  house:modelSpace():insert(room)
]]
local watching = drawing .. "local zelvane = host.load()\nlocal watch = assert(host.load(arg[1]))\n"

local function prints(work, ...)
  number = number + 1
  if only == number then assert(load(work))() end
  if only then return end
  local wanted = table.concat({ ... }, "\n") .. (... and "\n" or "")
  local got = printed(number):gsub("BlockWatch: ", ""):gsub("kzhost: cannot load [^\n]*\n", "")
  if got ~= wanted then error(("%s\ngot:\n%swanted:\n%s"):format(work, got, wanted), 2) end
end

prints(drawing .. 'assert(host.load(arg[1]) == nil)', "not loaded: Zelvane has to be loaded first")
prints('host.load() assert(host.load(arg[1]) == nil)', "not loaded: there is no open document with a drawing")
prints([[
  host.load() local empty = host.open("empty") assert(host.load(arg[1]))
  empty:modelSpace():insert(empty:block("Door")) host.idle()
]], "watching 0 blocks")

prints(watching .. [[
  first:set("NUMBER", "2") host.idle()
  local second = room:insert(door, { NUMBER = "äöü 😀" }) first:erase() host.idle()
  second:touch() host.idle()
  host.idle()
]], "watching 2 blocks", "Door: in Room, NUMBER=1 -> Door: in Room, NUMBER=2", "added Door: in Room, NUMBER=äöü 😀",
  "removed Door: in Room, NUMBER=2", "edited, but nothing printed here changed")

prints(watching .. [[
  house:modelSpace():insert(house:block("Key")) first:touch() host.idle()
]], "watching 2 blocks", "added Key: in *Model_Space")

prints(watching .. 'house:modelSpace():insert(room) host.idle()', "watching 2 blocks", "added Room: in *Model_Space",
  "Door: nested in Room")

-- What goes first.
prints(watching .. 'host.unload(zelvane) first:touch() host.idle() assert(host.unload(watch) == 0)', "watching 2 blocks")
prints(watching .. 'host.unload(watch) first:touch() host.idle() assert(host.unload(zelvane) == 0)', "watching 2 blocks")
prints(watching .. 'house:close() host.idle() assert(host.unload(watch) == 0)', "watching 2 blocks")
prints(watching .. [[
  host.unload(zelvane) host.idle() zelvane = host.load() host.idle() first:set("NUMBER", "2") host.idle()
  host.unload(watch) watch = assert(host.load(arg[1])) first:touch() host.idle()
]], "watching 2 blocks", "Door: in Room, NUMBER=1 -> Door: in Room, NUMBER=2", "watching 2 blocks",
  "edited, but nothing printed here changed")
-- Gone when its turn comes: clients of scripts have lower addresses and are called first.
prints(watching .. [[
  local early = host.client(function() host.unload(watch) end)
  zelvane.kzdxBlockReferenceMonitorAttach(house, { door }, early)
  first:touch() host.idle() first:touch() host.idle() assert(host.unload(watch) == 0)
]], "watching 2 blocks")
