-- Reads models in the LDraw format and creates drawings from them.
--
-- A line that begins with 1 places another file: colour, position, a 3 x 3 matrix, name. In a file with several
-- sections (.mpd), each section begins with "0 FILE name"; the first section is the main model. Lines that begin with
-- another digit up to 5 are comments or primitives, and are ignored. Other lines are tolerated, unless they are the
-- majority; a file that contains control characters is rejected.
--
--   local model, problem = ldraw.read("wagon.mpd")    -- problem: "wagon.mpd:12: what is wrong"
--   local drawing = ldraw.draw(model, host.open("wagon"))
local ldraw = {}

-- The key of a sub-file name: letter case and the direction of slashes are ignored.
function ldraw.key(name)
  return (name:gsub("\\", "/"):lower())
end

-- Old files use single-byte encodings: a name that is not valid UTF-8 is read as Latin-1.
function ldraw.utf8(name)
  if utf8.len(name) then return name end
  return (name:gsub("[\x80-\xFF]", function(byte) return utf8.char(byte:byte()) end))
end

-- Iterates over line numbers and lines; a line ends in LF, CR LF or CR.
local function lines(text)
  local at, number = 1, 0
  return function()
    if at > #text then return nil end
    local stop = text:find("[\r\n]", at) or #text + 1
    local line = text:sub(at, stop - 1)
    at = stop + (text:sub(stop, stop + 1) == "\r\n" and 2 or 1)
    number = number + 1
    return number, line
  end
end

local function readFile(path)
  local file, problem = io.open(path, "rb")
  if not file then return nil, problem end
  local text
  text, problem = file:read("a")
  file:close()
  if not text then return nil, path .. ": " .. problem end
  return (text:gsub("^\xEF\xBB\xBF", ""))
end

-- The name of the section that a comment line begins; "" if the line only ends a section; nil for other comments.
-- "0 FILE" is a keyword in upper case. In other letter cases it may also begin a title ("0 File cabinet"), so the name
-- must have an extension.
local function sectionName(line)
  local keyword, name = line:match("^%s*0%s+(%S+)%s*(.-)%s*$")
  if not keyword then return nil end
  if keyword == "FILE" then return name end
  local upper = keyword:upper()
  if upper == "FILE" and name:match("%.%w+$") then return name end
  if upper == "NOFILE" or upper == "!DATA" then return "" end
  return nil
end

local placing = "^%s*1%s+" .. ("(%S+)%s+"):rep(13) .. "(.-)%s*$"

-- The file name of a placing line; nil if the line is incomplete.
local function placedFile(line)
  local fields = { line:match(placing) }
  local name = table.remove(fields)
  for _, field in ipairs(fields) do
    if not tonumber(field) then return nil end
  end
  return name ~= "" and name or nil
end

local Reader = {}
Reader.__index = Reader

function Reader:fail(line, what)
  self.problem = self.problem or ("%s:%d: %s"):format(self.path, line, what)
  return nil
end

function Reader:begin(name, line)
  name = ldraw.utf8(name)
  local key = ldraw.key(name)
  local earlier = self.model.byKey[key]
  if earlier then
    return self:fail(line, ('duplicate section "%s" (first in line %d)'):format(name, earlier.line))
  end
  local section = { name = name, key = key, line = line, placings = {} }
  table.insert(self.model.sections, section)
  self.model.byKey[key] = section
  return section
end

-- Lines before the first section form a section with the name of the file.
function Reader:ownSection(line)
  if #self.model.sections > 0 then return nil end
  return self:begin(self.path:match("[^/]*$"), line)
end

function Reader:place(line, text)
  local section = self.section or self:ownSection(line)
  if not section then return end -- after the end of a section: ignored
  self.section = section
  local name = placedFile(text)
  if not name then return self:fail(line, "invalid placing line (expected: a colour, 12 numbers and a file name)") end
  name = ldraw.utf8(name)
  table.insert(section.placings, { key = ldraw.key(name), name = name, line = line })
end

-- Ctrl-Z (1A) is allowed: DOS files may end in it.
local controls = "[^\t\f\x1A\x20-\xFF]"

function Reader:line(number, text)
  local control = text:match(controls)
  if control then
    return self:fail(number, ("not an LDraw model: control character %02X"):format(control:byte()))
  end
  local first = text:match("^%s*([0-5])%f[%s\0]")
  if not first then
    if text:find("[^%s\x1A]") then self.strayLines = self.strayLines + 1 end
    return
  end
  self.goodLines = self.goodLines + 1
  if first == "1" then return self:place(number, text) end
  local name = first == "0" and sectionName(text)
  if not name then return end
  if name == "" and text:upper():match("^%s*0%s+FILE") then return self:fail(number, "missing name after FILE") end
  self.section = name ~= "" and self:begin(name, number) or nil
end

-- Rejects sections that contain themselves. Depth-first search with an explicit stack: models may be deeply nested.
function Reader:rejectRecursion()
  local state = {} -- of a section: nil (not visited), "open" (on the stack) or "done"
  for _, start in ipairs(self.model.sections) do
    local stack = state[start] and {} or { { section = start, next = 1 } }
    state[start] = state[start] or "open"
    while #stack > 0 do
      local top = stack[#stack]
      local place = top.section.placings[top.next]
      local inner = place and self.model.byKey[place.key]
      top.next = top.next + 1
      if not place then
        state[table.remove(stack).section] = "done"
      elseif inner and state[inner] == "open" then
        return self:fail(place.line, ('"%s" contains itself: %s'):format(inner.name, self.cycle(stack, inner)))
      elseif inner and not state[inner] then
        state[inner] = "open"
        table.insert(stack, { section = inner, next = 1 })
      end
    end
  end
end

function Reader.cycle(stack, again)
  local names = {}
  for at = #stack, 1, -1 do
    table.insert(names, 1, stack[at].section.name)
    if stack[at].section == again then break end
  end
  table.insert(names, again.name)
  if #names > 8 then names = { names[1], names[2], "...", names[#names - 1], names[#names] } end
  return table.concat(names, " > ")
end

-- Reads a model: its sections, each with its placings. Returns nil and an error message if the file is invalid.
-- `progress(what, count)` is called every 1000 lines.
function ldraw.read(path, progress)
  local text, problem = readFile(path)
  if not text then return nil, problem end
  local model = { path = path, sections = {}, byKey = {}, lines = 0 }
  local reader = setmetatable({ path = path, model = model, goodLines = 0, strayLines = 0 }, Reader)
  for number, line in lines(text) do
    reader:line(number, line)
    if reader.problem then return nil, reader.problem end
    if progress and number % 1000 == 0 then progress("lines read", number) end
    model.lines = number
  end
  if reader.goodLines + reader.strayLines == 0 then return nil, path .. ": not an LDraw model: empty file" end
  if reader.goodLines <= reader.strayLines then
    return nil, ("%s: not an LDraw model: most lines are invalid (%d of %d)"):format(path, reader.strayLines,
      reader.goodLines + reader.strayLines)
  end
  reader:ownSection(1)
  reader:rejectRecursion()
  if reader.problem then return nil, reader.problem end
  return model
end

-- Creates the drawing: a block definition for each section and for each part that is not in the file (these are empty),
-- a reference for each placing line, and a reference of the main model in model space. Returns the records by key, the
-- records in the order of the block table, and the number of references. If the host rejects a block name, raises an
-- error with the line of the model.
function ldraw.draw(model, document, progress)
  local drawing = { document = document, byKey = {}, blocks = {}, placings = 0, parts = 0 }
  local function define(key, name, line)
    local isMade, record = pcall(document.block, document, name, { anonymous = false })
    if not isMade then error(("%s:%d: %s"):format(model.path, line, record), 0) end
    drawing.byKey[key] = record
    table.insert(drawing.blocks, record)
    return record
  end
  for _, section in ipairs(model.sections) do define(section.key, section.name, section.line) end
  for _, section in ipairs(model.sections) do
    local container = drawing.byKey[section.key]
    for _, place in ipairs(section.placings) do
      local block = drawing.byKey[place.key]
      if not block then
        block = define(place.key, place.name, place.line)
        drawing.parts = drawing.parts + 1
      end
      container:insert(block)
      drawing.placings = drawing.placings + 1
      if progress and drawing.placings % 1000 == 0 then progress("references placed", drawing.placings) end
    end
  end
  document:modelSpace():insert(drawing.byKey[model.sections[1].key])
  for _, record in ipairs(document:records()) do
    if record.name:match("^%*") then drawing.byKey[ldraw.key(record.name)] = record end
  end
  return drawing
end

return ldraw
