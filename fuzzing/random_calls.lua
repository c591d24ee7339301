-- Random calls of every function of the Lua interface, with right and wrong arguments, also from inside callbacks,
-- coroutines, finalizers and metamethods. The functions and the kinds of their parameters are read from the
-- declarations of the interface.
--   kzhost random_calls.lua SEED COUNTS
-- The file COUNTS gets a line for each function (name, calls, calls without an error), and the exit status to expect.

local counts, random = assert(io.open(arg[2], "w")), math.random
math.randomseed(assert(tonumber(arg[1])))
local function chance(percent) return random(100) <= percent end
local function pick(list) return list[random(#list)] end
local function add(lists, key, value)
  lists[key] = lists[key] or {}
  table.insert(lists[key], value)
end

-- The functions and fields of the declarations: `entries` in their order, `makers` by the kind of value that they return.
-- `steps` leaves some out, which leads the others to other states: a run that closes no document, or refuses nothing.
local entries, makers, steps = {}, {}, {}
local class, parameters, results = "_G", {}, {}
for line in io.lines(arg[0]:match("^(.*)/") .. "/../headless/kzhost/api.lua") do
  local optional, kind = line:match("^%-%-%-@param %w+(%??) (.-) # ")
  local field, result = line:match("^%-%-%-@field (%w+)"), line:match("^%-%-%-@return (%w+)")
  local name = field and class .. "." .. field or line:match("^function ([%w.:]+)")
  class = line:match("^%-%-%-@class (%w+)") or class
  if kind then parameters[#parameters + 1] = {isOptional = optional == "?", kind = kind} end
  if result then results[#results + 1] = result end
  if name then
    local entry = {name = name, isField = field, parameters = parameters, calls = 0, successes = 0}
    entry.owner, entry.mark, entry.member = name:match("^(%w-)([.:]?)(%w+)$")
    entries[#entries + 1] = entry
    if chance(70) then steps[#steps + 1] = entry end
    for _, each in ipairs(results) do add(makers, each, entry) end
    parameters, results = {}, {}
  end
end

local act, call -- a random step; a call of an entry
local left = 1000 -- the calls still to make

-- Values that calls returned, by kind. Some become garbage; some outlive what they name.
local pool = {}

local function keep(value)
  local kind = type(value)
  if kind == "table" then
    for _, item in ipairs(value) do keep(item) end
  elseif kind == "userdata" then
    kind = debug.getmetatable(value).__name
    add(pool, kind, value)
    if #pool[kind] > 12 then table.remove(pool[kind], random(8)) end
  end
end

-- A value of a kind, mostly one of the latest. If there is none, calls a function that returns such values.
local function value(kind)
  if kind == "object" then kind = pick({"record", "reference", "attribute"}) end
  local list = kind == "document" and chance(80) and host.documents() or pool[kind] or {}
  if #list == 0 and makers[kind] then call(pick(makers[kind])) end
  return list[math.max(1, #list - random(0, chance(70) and 2 or #list))]
end

local function raise()
  error(pick({"raised", {"raised"}, 5, false, setmetatable({}, {__tostring = function() act() error("raised") end})}))
end

local function callback()
  local count, raises, yields = random(0, 5), chance(8), chance(5)
  return function(...)
    for _ = 1, count do act() end
    if raises then raise() end
    if yields then coroutine.yield() end
    return ...
  end
end

local words = {"A", "B", "C", "D", "T\u{FC}r", "*T1", "*U2", "*Model_Space", "#idle", "", "\xFF", "a\0b",
  ("x"):rep(300), "Zelvane.hmx", "BlockWatch.hmx", "ZelvaneRes.dll"}
local numbers = {0, 0, 1, 1, 1, 2, 5, 1000, -1, 0x401, 2 ^ 31 | 0, 2 ^ 32 - 1 | 0, math.maxinteger, math.mininteger}
local kinds = {"document", "object", "client", "module", "string", "integer", "boolean", "fun()", "string[]", "nil"}
local hostile = {}
for event in ("index newindex len call tostring eq lt close name pairs"):gmatch("%w+") do
  hostile["__" .. event] = function(...) act() return ... end
end

-- An argument of a kind, as the declarations write it; sometimes of another kind.
local function make(kind)
  if kind == "any" or chance(2) then
    local others = {1.5, 0 / 0, setmetatable({1, 2}, hostile), host, print, io.stdout, coroutine.create(callback()), _G}
    return chance(60) and make(pick(kinds)) or pick(others)
  end
  if kind:sub(-1) == "?" then return chance(85) and make(kind:sub(1, -2)) or nil end
  local item, key, text = kind:match("^%(?(.-)%)?%[%]$"), kind:match("^table<(%w+), (%w+)>$")
  if item or key then
    local list = {}
    for at = 1, random(0, 4) do pcall(rawset, list, key and make(key) or at, make(item or text)) end
    return list
  end
  if kind:find("|") then
    local alternatives = {}
    for each in kind:gmatch("[^|]+") do table.insert(alternatives, each) end
    return make(pick(alternatives))
  end
  if kind:sub(1, 1) == "{" then
    local options = {}
    for option, each in kind:gmatch("(%w+): (%w+)") do options[option] = chance(30) and make(each) or nil end
    return options
  end
  if kind == "integer" then return chance(40) and (value("object") or {}).id or pick(numbers) end
  if kind == "string" then return words[random(chance(60) and 2 or #words)] end
  if kind == "boolean" then return chance(50) end
  if kind == "fun()" then return callback() end
  return kind:match('^"(.*)"$') or value(kind)
end

local function finishCall(entry, isDone, ...)
  local message = ...
  if isDone then
    entry.successes = entry.successes + 1
    return keep({...})
  end
  if chance(30) then pool[pick({entry.owner, "record", "reference"})] = nil end -- they may be gone
  if type(message) ~= "string" or message:find("raised") or message:find("overflow") or message:find("yield") then return end
  if message:find("invalid host call by a module", 1, true) or not message:find(entry.member, 1, true) then
    io.stderr:write("not an error of ", entry.name, ": ", message, "\n")
    os.exit(3)
  end
end

function call(entry)
  left = left - 1
  local owner = left >= 0 and (_G[entry.owner] or entry.owner == "" and _G or value(entry.owner))
  if not owner then return end
  local arguments, count = {}, 0
  for _, parameter in ipairs(entry.parameters) do
    if parameter.isOptional and chance(40) then break end
    count = count + 1
    arguments[count] = make(parameter.kind)
  end
  entry.calls = entry.calls + 1
  finishCall(entry, pcall(function()
    local member = owner[entry.member]
    if entry.isField then return member end
    if entry.mark == "." then return member(table.unpack(arguments, 1, count)) end
    return member(chance(98) and owner or make("any"), table.unpack(arguments, 1, count))
  end))
end

-- Attaches a client to the current document. Random arguments seldom do.
local function watch()
  local module, client, document = value("module"), value("client"), host.current() or host.open("A")
  pool.module = nil -- it may not be loaded any more
  module.kzdxDocTimerAttach(document, client, 0, 1)
  module.kzdxBlockReferenceMonitorAttach(document, document:records(), client)
  keep(module)
end

-- Ends the run by returning, an error or os.exit, with finalizers left to run.
local function finish(isInside)
  for _, entry in ipairs(entries) do counts:write(entry.name, " ", entry.calls, " ", entry.successes, "\n") end
  local succeeds = chance(50)
  counts:write("ends ", succeeds and 0 or 1, "\n")
  counts:close()
  for _ = 1, random(0, 5) do setmetatable({value("client"), value("object")}, {__gc = callback()}) end
  left = random(0, 60)
  if isInside or chance(30) then os.exit(succeeds, chance(50)) end
  if not succeeds then raise() end
end

local others = {
  function() setmetatable({value("client"), value("object")}, {__gc = callback()}) end,
  function() value(pick({"document", "object", "client", "module"}))[pick(words)] = make("any") end,
  function() collectgarbage(pick({"step", "collect", "generational", "incremental"})) end,
  function() add(pool, "thread", coroutine.create(callback())) end,
  function() coroutine.resume(table.remove(pool.thread, 1)) end,
  function() if chance(5) then finish(true) end end,
}

function act()
  local way = random(100)
  if left <= 0 then return end
  if way <= 78 then call(pick(steps)) else pcall(way <= 85 and host.idle or way <= 89 and watch or pick(others)) end
end

keep({host.load(), host.open("A"), chance(30) and host.load("BlockWatch.hmx")})
while left > 0 do act() end
finish(false)
