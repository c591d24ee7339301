-- Guards the pictures and trees of hierarchies: every kind of record is told apart, references are counted once, also
-- those in an attached drawing, any name may appear, what an edit did is marked, and of a large drawing only what
-- matters is shown. Pictures are judged by what Graphviz understands of them.
--
--   kzhost hierarchy_test.lua EXAMPLES
local hierarchy = dofile(arg[1] .. "/hierarchy.lua")
local equal = dofile(arg[0]:match("^(.*)/") .. "/../lua/check.lua").equal

-- What Graphviz draws: the look of each node by its text, the text of each arrow as "from>to".
local function drawn(document, options)
  local path = os.tmpname()
  local file = assert(io.open(path, "w"))
  file:write((hierarchy.dot(document, options)))
  file:close()
  local picture, name = { nodes = {}, edges = {} }, {}
  local pipe = assert(io.popen("dot -Tplain -y " .. path))
  for line in pipe:lines() do
    local id, label, look = line:match('^node (%S+) %S+ %S+ %S+ %S+ ("?.-"?) (%S+ %S+ %S+ %S+)$')
    if id then
      name[id] = label:gsub('^"(.*)"$', "%1"):gsub("\\(.)", "%1")
      picture.nodes[id:match("^key") and "key: " .. name[id] or name[id]] = look
    end
    local from, to, rest = line:match("^edge (%S+) (%S+) %d+ (.*)$")
    if from and not from:match("^key") then
      picture.edges[name[from] .. ">" .. name[to]] = rest:match('"%s*(.-)%s*" [%d.]+ [%d.]+ %S+ %S+$') or ""
    end
  end
  local isDrawn = pipe:close()
  os.remove(path)
  assert(isDrawn, "Graphviz refuses the picture")
  return picture
end

local function sortedKeys(map)
  local keys = {}
  for key in pairs(map) do table.insert(keys, key) end
  table.sort(keys)
  return table.concat(keys, " ")
end

-- ---- a house with everything

local site = host.open("Site")
local grove, tree = site:block("Grove"), site:block("Tree")
for _ = 1, 3 do site:modelSpace():insert(tree) end
for _ = 1, 2 do grove:insert(tree) end

local house = host.open('The "old" <house> & all')
local door, shed, bolt, hinge = house:block('Do\\or "A"'), house:block("Shed"), house:block("Bolt"), house:block("Hinge")
door:enhance()
local wide = door:represent()
for _ = 1, 2 do house:modelSpace():insert(door) end
house:modelSpace():insert(wide)
house:modelSpace():insert(shed)
door:insert(hinge)
local lock = house:block("Lock")
for _, each in ipairs({ door, shed }) do each:insert(lock) end -- called through the door; the shed is not concerned
wide:insert(bolt):erase()
house:modelSpace():insert(house:attach(site, "Site"))

local picture = drawn(house, { representations = { [wide] = door } })
for label, look in pairs({
  ["*Model_Space"] = "bold box", ['Do\\or "A"'] = "rounded box", ["*U1"] = "dotted box", Site = "filled folder",
  ["Site|Tree"] = "dashed box", ["key: layout"] = "bold box", ["key: representation"] = "dotted box",
}) do
  local style, shape = look:match("(%S+) (%S+)")
  local got = picture.nodes[label]
  assert(got and got:find(style, 1, true) and got:find(shape, 1, true), label .. " is drawn as " .. tostring(got))
end
assert(not sortedKeys(picture.nodes):find("Paper") and not picture.nodes["key: called: changed"], "what does not occur is shown")
local doorName = 'Do\\or "A"'
equal(picture.edges["*Model_Space>" .. doorName], "×2", "two doors")
equal(picture.edges["*Model_Space>*U1"], "", "one wide door")
equal(picture.edges["*U1>Bolt"], nil, "an erased reference")
equal(picture.edges["*U1>" .. doorName], "represents", "the representation")
equal(picture.edges["Site>Site|Tree"], "×3", "trees of the attached drawing")
equal(picture.edges["Site|Grove>Site|Tree"], "×2", "trees of the attached grove")

-- ---- names that mean something elsewhere

local odd = host.open("odd \1\f & <")
local plain = {}
for _, name in ipairs({ "a&amp;b", "form\ffeed", "left|right", "left", "*U1" }) do
  table.insert(plain, odd:block(name, { anonymous = false }))
  odd:modelSpace():insert(plain[#plain])
end
picture = drawn(odd, { plain = plain })
equal(sortedKeys(picture.nodes), "*Model_Space *U1 a&amp;b form␌feed left left|right", "odd names")
for label, look in pairs(picture.nodes) do
  assert(look:find(label == "*Model_Space" and "bold" or "rounded"), label .. " is drawn as " .. look)
end
local svg = assert(io.popen("dot -Tsvg | python3 -c 'import sys, xml.dom.minidom as xml; xml.parse(sys.stdin)'", "w"))
svg:write((hierarchy.dot(odd, { plain = plain })))
assert(svg:close(), "the picture is no XML")

-- ---- what an edit did

local before = hierarchy.of(house)
house:modelSpace():insert(door)
door:insert(bolt)
hinge:references()[1]:erase()
local options = {
  before = before, changed = { [door] = "itself", [bolt] = "inside", [lock] = "inside" },
  edits = { { block = door, container = house:modelSpace(), text = "a door <more> & all" },
    { block = bolt, container = door, text = "a bolt" }, { block = hinge, container = door, text = "a hinge" } },
}
picture = drawn(house, options)
equal(sortedKeys(picture.nodes),
  '*Model_Space Bolt Do\\or "A" Hinge Lock key: called: changed key: called: nested in it key: edited references key: layout',
  "only what the edits concern")
equal(picture.edges["*Model_Space>" .. doorName], "×2 → 3", "a count that grew")
equal(picture.edges[doorName .. ">Bolt"], "new", "a new placement")
equal(picture.edges[doorName .. ">Hinge"], "gone", "the last reference")
options.all = true
assert(drawn(house, options).nodes.Shed, "--all leaves something out")

-- ---- a large one, deep and wide

local large = host.open("large")
local main, frame = large:block("main"), large:block("frame")
large:modelSpace():insert(main)
for _ = 1, 2 do main:insert(frame) end
for at = 1, 70 do frame:insert(large:block("part" .. at)) end
before = hierarchy.of(large)
main:insert(large:find("part7"))
options = { before = before, edits = { { block = large:find("part7"), container = main, text = "a part" } } }
picture = drawn(large)
equal(sortedKeys(picture.nodes), "*Model_Space frame main", "a large drawing without its leaves")
equal(sortedKeys(drawn(large, options).nodes), "*Model_Space frame key: edited references key: layout main part7",
  "what one edit concerns")

equal(hierarchy.tree(large, options), [[
*Model_Space
└── main
    ├── frame ×2
    │   └── part7
    └── part7 new
]], "a tree of what an edit concerns")
main:insert(large:block("ring"))
large:find("ring"):insert(large:find("ring"))
large:block("other"):insert(frame)
equal(hierarchy.tree(large, { leaves = false }), [[
*Model_Space
└── main
    ├── frame ×2
    └── ring
        └── ring (*)
other
└── frame
70 empty blocks omitted
(*) printed above
]], "blocks that come again")
equal(hierarchy.tree(large, { below = { main }, depth = 0 }), "main\n", "depth below a block")
