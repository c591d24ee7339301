-- Guards the reading of LDraw models, with the irregularities of real files, and the clients that ldraw.lua reports as
-- called by an edit.
--
--   kzhost ldraw_test.lua EXAMPLES
local examples = arg[1]
local kzhost = arg[-1]
local ldraw = dofile(examples .. "/ldraw_model.lua")
local equal = dofile(arg[0]:match("^(.*)/") .. "/../lua/check.lua").equal

local place = "1 16 0 0 0 1 0 0 0 1 0 0 0 1 "

-- A model: sections, each a name followed by what it places.
local function text(...)
  local lines = {}
  for _, section in ipairs({ ... }) do
    table.insert(lines, "0 FILE " .. section[1])
    for at = 2, #section do table.insert(lines, place .. section[at]) end
  end
  return table.concat(lines, "\n") .. "\n"
end

local function withFile(content, use)
  local stem = os.tmpname()
  local path = stem .. ".mpd"
  local file = assert(io.open(path, "wb"))
  file:write(content)
  file:close()
  local results = table.pack(pcall(use, path))
  os.remove(path)
  os.remove(stem)
  assert(results[1], results[2])
  return table.unpack(results, 2, results.n)
end

-- Which block places which one how often, in the drawing of a model: "a>b*2 ...", sorted, names in lower case.
local function placings(content)
  return withFile(content, function(path)
    local model = assert(ldraw.read(path))
    local drawing = ldraw.draw(model, host.open(path))
    local counts, list = {}, {}
    for _, record in ipairs(drawing.blocks) do
      for _, reference in ipairs(record:references()) do
        local key = ldraw.key(reference.owner.name .. ">" .. record.name)
        counts[key] = (counts[key] or 0) + 1
      end
    end
    for key, count in pairs(counts) do table.insert(list, key .. "*" .. count) end
    table.sort(list)
    return table.concat(list, " ")
  end)
end

local function refusal(content)
  return withFile(content, function(path)
    local model, problem = ldraw.read(path)
    assert(not model, "a faulty model was opened")
    return (problem:gsub(".*/[^:]*", "FILE", 1))
  end)
end

local plain = text({ "main.ldr", "s/left.ldr", "s/left.ldr", "wheel.dat" }, { "s/left.ldr", "wheel.dat" })
local drawn = "*model_space>main.ldr*1 main.ldr>s/left.ldr*2 main.ldr>wheel.dat*1 s/left.ldr>wheel.dat*1"
equal(placings(plain), drawn, "a plain model")

-- The same model as other programs write it.
equal(placings((plain:gsub("\n", "\r\n"))), drawn, "Windows line ends")
equal(placings((plain:gsub("\n", "\r"))), drawn, "carriage returns alone")
equal(placings((plain:gsub("\n$", ""))), drawn, "no end of the last line")
equal(placings("\xEF\xBB\xBF" .. plain), drawn, "a byte order mark")
equal(placings((plain:gsub(" ", "\t  "))), drawn, "tabs and more blanks")
equal(placings((plain:gsub("1 s/left", "1 S\\LEFT"))), drawn, "letter case and backslashes")
equal(placings((plain:gsub("FILE main", "file Main"))), drawn, "the keyword in small letters")
equal(placings((plain:gsub("0 FILE s", "0 NOFILE\n" .. place .. "lost.dat\n%0"))), drawn, "lines between the sections")
equal(placings(text({ "a.ldr", "b.ldr" }, { "c.ldr", "d.dat" }, { "b.ldr", "c.ldr" })),
  "*model_space>a.ldr*1 a.ldr>b.ldr*1 b.ldr>c.ldr*1 c.ldr>d.dat*1", "references before and after definitions")
equal(placings("0 File cabinet\n" .. place .. "my part.dat\n"):gsub("lua_%w+", "X", 2),
  "*model_space>X.mpd*1 X.mpd>my part.dat*1", "no sections, a title that begins with File, a blank in a name")
equal(placings("0 caf\xE9\n" .. place .. "caf\xE9.dat\n"):match("[^>]*$"), "café.dat*1", "a one-byte encoding")

equal(refusal(text({ "a.ldr", "x.dat", "A.LDR" })), 'FILE:3: "a.ldr" contains itself: a.ldr > a.ldr', "itself")
equal(refusal((text({ "a.ldr", "x.dat", "a.ldr" }):gsub("\n", "\r\n"))),
  'FILE:3: "a.ldr" contains itself: a.ldr > a.ldr', "lines are counted whatever they end in")
equal(refusal(text({ "m.ldr", "c.ldr" }, { "a.ldr", "b.ldr" }, { "b.ldr", "x.dat", "c.ldr" }, { "c.ldr", "a.ldr" })),
  'FILE:7: "c.ldr" contains itself: c.ldr > a.ldr > b.ldr > c.ldr', "a ring away from the main model")
equal(refusal(text({ "a.ldr" }, { "b.ldr" }, { "A.ldr" })), 'FILE:3: duplicate section "A.ldr" (first in line 1)', "twice")
equal(refusal("0 title\n1 16 0 0 0 1 0 0 0 1 0 0 0 part.dat\n"),
  "FILE:2: invalid placing line (expected: a colour, 12 numbers and a file name)", "a number is missing")
equal(refusal("1 16 0 0 zero 1 0 0 0 1 0 0 0 1 part.dat\n"),
  "FILE:1: invalid placing line (expected: a colour, 12 numbers and a file name)", "a word in place of a number")
equal(refusal("0 FILE a.ldr\n" .. place .. "\n"),
  "FILE:2: invalid placing line (expected: a colour, 12 numbers and a file name)", "the name is missing")
equal(refusal("# A title\n\n0 of them\n20 more\n"),
  "FILE: not an LDraw model: most lines are invalid (2 of 3)", "another kind of file")
equal(placings(plain .. "a stray line\n\x1A"), drawn, "a stray line, and the end of a DOS file")
equal(refusal(""), "FILE: not an LDraw model: empty file", "an empty file")
assert(refusal("0 FILE a\n\1\2"):find("control character"), "a control character")

-- ---- clients called by an edit

-- What ldraw.lua prints as called, sorted; all that it prints when it fails.
local function called(path, edits)
  local pipe = assert(io.popen(("%s %s/ldraw.lua %s %s 2>&1"):format(kzhost, examples, path, edits)))
  local output = pipe:read("a")
  if not pipe:close() then return output end
  local names = {}
  for name in output:gmatch("\n  (%S+) ") do table.insert(names, name:lower()) end
  assert(#names == tonumber(output:match("clients called: (%d+)") or 0), output)
  table.sort(names)
  return table.concat(names, " ")
end

local wagonPath = examples .. "/wagon.mpd"
for edit, names in pairs({
  ["insert wheelset.ldr wagon.mpd"] = "axle.dat wheel.dat wheelset.ldr",
  ["erase bogie.ldr wagon.mpd"] = "axle.dat bogie.ldr coupling.ldr hook.dat plate.dat wheel.dat wheelset.ldr",
  ["touch COUPLING.LDR BOGIE.LDR"] = "coupling.ldr hook.dat",
  ["touch cargo\\\\crate.ldr wagon.mpd"] = "board.dat cargo/crate.ldr",
}) do
  equal(called(wagonPath, edit), names, edit)
end
equal(called(wagonPath, "erase board.dat frame.ldr"):match("\nldraw.*$"),
  "\nldraw.lua: board.dat has no reference in frame.ldr\n", "erasing what is elsewhere")
equal(called(wagonPath, "touch bogie.ldr"), "", "an opened definition moves no reference")
equal(called(wagonPath, "--watch board.dat --watch hook.dat erase bogie.ldr wagon.mpd"), "hook.dat", "only those named")

-- Pictures, lists, and the prompt, where an error must not end the host.
local function output(command)
  local pipe = assert(io.popen(command .. " 2>&1"))
  return pipe:read("a"), select(3, pipe:close())
end

local script = examples .. "/ldraw.lua "
assert(output(kzhost .. " " .. script .. wagonPath .. " --blocks"):find("\nboard.dat +6 +0\n"), "--blocks")
equal(output(kzhost .. " " .. script .. wagonPath .. " --tree insert coupling.ldr wagon.mpd"):match("%*Model.*"), [[
*Model_Space
└── wagon.mpd
    ├── bogie.ldr ×2
    │   └── coupling.ldr [changed]
    │       └── hook.dat ×2 [nested in a changed block]
    └── coupling.ldr new [changed] (*)
(*) printed above
]], "--tree")
for _, wrong in ipairs({ "--bellow x", "--depth 2", "--blocks --tree", "nothing", "--depth x", "--dot", "erase board.dat" }) do
  local text, status = output(kzhost .. " " .. script .. wagonPath .. " " .. wrong)
  assert(status == 2 and text:find("%(see %-%-help%)"), wrong .. ": " .. text)
end
withFile(text({ "main.ldr", "insert" }, { "*Model_Space" }), function(path)
  equal(output(kzhost .. " " .. script .. path .. " --blocks"):match("^ldraw.lua: " .. path:gsub("%p", "%%%0") .. ":3: [^\n]*\n$")
    and "told", "told", "a name that the host has taken")
end)
withFile(text({ "main.ldr", "insert" }), function(path)
  equal(called(path, "insert insert main.ldr"), "insert", "a block that is called as an edit is")
  local strange = path .. "\xE9"
  assert(os.rename(path, strange))
  equal(called(strange, "erase insert main.ldr"), "insert", "a path that is not UTF-8")
  assert(os.rename(strange, path))
end)
local chain = {}
for at = 1, 3000 do chain[at] = { "sub" .. at .. ".ldr", "sub" .. at + 1 .. ".ldr" } end
withFile(text(table.unpack(chain)), function(path)
  local tree = output(kzhost .. " " .. examples .. "/hierarchy.lua " .. path .. " --tree")
  assert(#tree < 500000 and select(2, tree:gsub("sub3001%.ldr", "")) == 1, "a long chain gives " .. #tree .. " bytes")
end)
local typed = ("arg = nil for _, each in ipairs({ 'hierarchy', 'ldraw', 'demo' }) do dofile('%s/' .. each .. '.lua') end "
  .. "print(pcall(dofile('%s/ldraw.lua'), 'nowhere.mpd'))"):format(examples, examples)
equal(output(("echo \"%s\" | %s -"):format(typed, kzhost)):match("[^\n]*\n$"),
  "false\tldraw.lua: nowhere.mpd: No such file or directory\n", "at a prompt")

-- More blocks than the host has clients.
local wide = { "main.ldr" }
for at = 1, 1500 do wide[at + 1] = "Sub" .. at .. ".ldr" end
withFile(text(wide), function(path)
  equal(select(2, called(path, "insert main.ldr '*Model_Space'"):gsub("sub%d+%.ldr", "")), 1500, "all of a large model")
end)
