-- Output and completion of the prompt. Returns `show`, which prints values, and `complete`.

local getmetatable, getuservalue, registry = debug.getmetatable, debug.getuservalue, debug.getregistry()
local globals, next, pairs, print, rawget = _G, next, pairs, print, rawget
local select, tostring, type, mathtype = select, tostring, type, math.type
local byte, find, format, gmatch, gsub, match, sub =
  string.byte, string.find, string.format, string.gmatch, string.gsub, string.match, string.sub
local concat, sort = table.concat, table.sort

local maxDepth, maxEntries = 3, 20

-- Control characters become numeric escapes of Lua, with three digits if a digit follows.
local function quoted(text)
  return '"' .. gsub(text, '([%c"\\])(%d?)', function(character, digit)
    if character == '"' or character == "\\" then return "\\" .. character .. digit end
    return format(digit == "" and "\\%d" or "\\%03d", byte(character)) .. digit
  end) .. '"'
end

local function readable(value, depth)
  if type(value) == "string" then return quoted(value) end
  local meta = getmetatable(value)
  if type(value) ~= "table" or (type(meta) == "table" and rawget(meta, "__tostring")) then return tostring(value) end
  if depth == maxDepth then return "{...}" end
  local parts = {}
  for key, item in next, value do
    if #parts == maxEntries then
      parts[#parts + 1] = "..."
      break
    end
    local text = readable(item, depth + 1)
    -- The items of a list are printed without their keys.
    if not (mathtype(key) == "integer" and key == #parts + 1) then
      local isName = type(key) == "string" and find(key, "^[%a_][%w_]*$")
      text = (isName and key or "[" .. readable(key, depth + 1) .. "]") .. " = " .. text
    end
    parts[#parts + 1] = text
  end
  return "{" .. concat(parts, ", ") .. "}"
end

local function show(...)
  local parts = {}
  for at = 1, select("#", ...) do parts[at] = readable(select(at, ...), 0) end
  if #parts > 0 then print(concat(parts, "  ")) end
end

-- The tables that list the members of a value. Raw access, because completion must not run metamethods.
local function membersOf(value)
  if type(value) == "table" then return {value} end
  local meta = getmetatable(value)
  if type(value) ~= "userdata" or type(meta) ~= "table" then return {} end
  return {rawget(meta, "methods"), rawget(meta, "fields"), (getuservalue(value, 1))}
end

-- The completions of the word that ends a line, in ascending order: global names, entries of tables, members of
-- values; after the name of a kind of values ("document:") its members.
local function complete(word)
  local owner, separator, start = match(word, "^(.-)([.:]?)([^.:]*)$")
  local value = globals
  for name in gmatch(owner, "[^.]+") do value = type(value) == "table" and rawget(value, name) or nil end
  local members = membersOf(value)
  local kind = value == nil and rawget(registry, owner)
  if type(kind) == "table" then members = {rawget(kind, "methods"), rawget(kind, "fields")} end
  local found = {}
  for _, each in pairs(members) do
    for name in next, each do
      if type(name) == "string" and sub(name, 1, #start) == start then
        found[#found + 1] = owner .. separator .. name
      end
    end
  end
  sort(found)
  return found
end

return show, complete
