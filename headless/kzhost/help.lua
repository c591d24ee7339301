-- The global function `help`: it prints the comments of api.lua. Takes the text of api.lua and the names of
-- all functions by function. Returns `help` and the list of entries, from which docs/kzhost.md is
-- generated.

local api, names = ...
local getmetatable, host, ipairs, print, select, type = debug.getmetatable, host, ipairs, print, select, type
local format, gmatch, gsub, match, rep = string.format, string.gmatch, string.gsub, string.match, string.rep

local overview = [[
Available functions. For details: help(host.idle), help(host), help(value) for a value of the host,
or by name help("document:block"), help("document").]]

-- Optional parameters nest, because all parameters after an optional one are optional: "name [, first [,
-- second]]".
local function signature(name, comment)
  local list, optional = "", 0
  for parameter, mark in gmatch(comment, "@param (%w+)(%??)") do
    if mark == "?" then
      optional = optional + 1
      list = list .. (list == "" and "[" or " [")
    end
    list = list .. (match(list, "^%[?$") and "" or ", ") .. parameter
  end
  return name .. "(" .. list .. rep("]", optional) .. ")"
end

-- A line of a comment as text. Annotations of parameters and results become list items.
local function inWords(line)
  line = gsub(line, "^@param (%w+)%? (.-) # ", "- `%1` (`%2`, optional): ")
  line = gsub(line, "^@param (%w+) (.-) # ", "- `%1` (`%2`): ")
  return (gsub(line, "^@return (.-) ([%w.]+) # ", "- returns `%2` (`%1`): "))
end

-- The headings, classes, fields and functions in the order of the file. Each entry has its kind, name,
-- title and text.
local function read()
  local entries, comment = {}, ""
  for line in gmatch(api, "[^\n]+") do
    local class, base = match(line, "^%-%-%-@class (%w+):? ?(%w*)")
    local field, kind, text = match(line, "^%-%-%-@field (%w+) (.-) # (.*)")
    local name, heading = match(line, "^function ([%w.:]+)"), match(line, "^%-%- ## (.*)")
    local entry
    if class then
      entry = {kind = "class", name = class, title = class, base = base}
    elseif field then
      local owner = entries[#entries].owner or entries[#entries].name
      entry = {kind = "field", name = owner .. "." .. field, owner = owner, title = owner .. "." .. field}
      comment = "`" .. kind .. "`: " .. text .. ".\n"
    elseif name then
      entry = {kind = "function", name = name, owner = match(name, "^(%w+)[.:]") or "_G", title = signature(name, comment)}
    elseif heading then
      entry = {kind = "heading", name = "", title = heading}
    end
    if entry then
      entry.text, comment = gsub(comment, "[^\n]+", inWords), ""
      entries[#entries + 1] = entry
    elseif line ~= "---@meta" and match(line, "^%-%-%-") then
      comment = comment .. match(line, "^%-%-%-(.*)") .. "\n"
    end
  end
  return entries
end

local entries = read()

local function summary(entry)
  local sentence = entry.kind == "field" and match(entry.text, "^[^.]*") or match(entry.text, "^(.-)[.:]%s")
  print(format("  %-42s %s.", entry.title, (gsub(sentence, "\n", " "))))
end

-- Prints a class with its members and bases, or a function or field. Returns false if there is none of that
-- name.
local function explain(name)
  for _, entry in ipairs(entries) do
    if entry.kind ~= "heading" and entry.name == name then
      print(entry.title .. "\n  " .. gsub(gsub(entry.text, "\n$", ""), "\n", "\n  "))
      if entry.kind ~= "class" then return true end
      for _, each in ipairs(entries) do
        if each.owner == name then summary(each) end
      end
      if entry.base ~= "" then explain(entry.base) end
      return true
    end
  end
  return false
end

local function help(...)
  local thing = ...
  if select("#", ...) == 0 then
    print(overview)
    for _, entry in ipairs(entries) do
      if entry.kind == "heading" then print(entry.title) end
      if entry.kind == "function" or entry.kind == "field" then summary(entry) end
    end
    return
  end
  local meta = getmetatable(thing)
  local name = names[thing] or thing == host and "host" or type(thing) == "userdata" and meta and meta.__name or thing
  if not explain(name) then print("No help for " .. (thing == nil and "nil" or "that") .. ". help() lists the available functions.") end
end

return help, entries
