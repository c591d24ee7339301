-- Reads models in the LDraw format and makes drawings of them.
--
-- A line that begins with 1 places another file: colour, position, a 3 x 3 matrix, name. A file of several
-- sections (.mpd) begins each with "0 FILE name"; the first one is the main model. Lines that begin with another digit
-- up to 5 are comments or draw something, and do not matter here. Stray lines happen; a file with more of them than of
-- the others is no model, and neither is one with bytes that no text has.
--
--   local model, refusal = ldraw.read("wagon.mpd")    -- refusal: "wagon.mpd:12: what is wrong"
--   local drawing = ldraw.draw(model, host.open("wagon"))
local ldraw = {}

-- Sub-files are found whatever the letter case and the direction of slashes.
function ldraw.key(name)
  return (name:gsub("\\", "/"):lower())
end

-- Old files are in one-byte encodings; a name that is not UTF-8 is taken byte by byte.
function ldraw.utf8(name)
  if utf8.len(name) then return name end
  return (name:gsub("[\x80-\xFF]", function(byte) return utf8.char(byte:byte()) end))
end

-- Numbers and texts of the lines, whether they end in LF, CR LF or CR.
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

-- The name of the section that a comment line begins; "" when it only ends one; nil for other comments.
-- "0 FILE" is a keyword in capitals. In other letters it may as well begin a title ("0 File cabinet"), so there
-- the name has to look like one.
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

-- The file name of a placing line; nil when the line is not complete.
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

function Reader:refuse(line, what)
  self.refusal = self.refusal or ("%s:%d: %s"):format(self.path, line, what)
  return nil
end

function Reader:begin(name, line)
  name = ldraw.utf8(name)
  local key = ldraw.key(name)
  local earlier = self.model.byKey[key]
  if earlier then
    return self:refuse(line, ('"%s" is there already, since line %d'):format(name, earlier.line))
  end
  local section = { name = name, key = key, line = line, placings = {} }
  table.insert(self.model.sections, section)
  self.model.byKey[key] = section
  return section
end

-- What stands before the first section is a section of the file's own name.
function Reader:ownSection(line)
  if #self.model.sections > 0 then return nil end
  return self:begin(self.path:match("[^/]*$"), line)
end

function Reader:place(line, text)
  local section = self.section or self:ownSection(line)
  if not section then return end -- between sections: nobody's
  self.section = section
  local name = placedFile(text)
  if not name then return self:refuse(line, "a placing line has a colour, 12 numbers and a file name") end
  name = ldraw.utf8(name)
  table.insert(section.placings, { key = ldraw.key(name), name = name, line = line })
end

-- DOS files may end in Ctrl-Z.
local foreign = "[^\t\f\x1A\x20-\xFF]"

function Reader:line(number, text)
  local strange = text:match(foreign)
  if strange then
    return self:refuse(number, ("no LDraw model: no text has the byte %02X"):format(strange:byte()))
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
  if name == "" and text:upper():match("^%s*0%s+FILE") then return self:refuse(number, "FILE without a name") end
  self.section = name ~= "" and self:begin(name, number) or nil
end

-- Refuses sections that contain themselves. A walk with its own stack, for models of any depth.
function Reader:refuseRecursion()
  local state = {} -- of a section: nil not seen, "open" on the stack, "done"
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
        return self:refuse(place.line, ('"%s" contains itself: %s'):format(inner.name, self.cycle(stack, inner)))
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

-- Reads a model: its sections, each with what it places. nil and the refusal when there is a fault in it.
-- `progress(what, count)` is called now and then.
function ldraw.read(path, progress)
  local text, problem = readFile(path)
  if not text then return nil, problem end
  local model = { path = path, sections = {}, byKey = {}, lines = 0 }
  local reader = setmetatable({ path = path, model = model, goodLines = 0, strayLines = 0 }, Reader)
  for number, line in lines(text) do
    reader:line(number, line)
    if reader.refusal then return nil, reader.refusal end
    if progress and number % 1000 == 0 then progress("lines read", number) end
    model.lines = number
  end
  if reader.goodLines + reader.strayLines == 0 then return nil, path .. ": no LDraw model: the file is empty" end
  if reader.goodLines <= reader.strayLines then
    return nil, ("%s: no LDraw model: %d of its lines are in the format, %d are not"):format(path, reader.goodLines,
      reader.strayLines)
  end
  reader:ownSection(1)
  reader:refuseRecursion()
  if reader.refusal then return nil, reader.refusal end
  return model
end

-- Makes the drawing: a block definition for each section and for each part that is not in the file (those have no
-- content), a reference for each placing line, and the main model once in model space. Gives the records by key,
-- the records in the order of the block table, and how many references were made. Raises an error with the line of
-- the model that the host refuses.
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
