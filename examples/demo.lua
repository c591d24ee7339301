-- Shows what the module does, on the drawing of an office building.
--
--   kzhost examples/demo.lua [TEMPLATE [DOT]]
--
-- Each step prints its calls and their results. An unexpected result ends the script with an error. TEMPLATE is the
-- file made from doors.json; without it, the template step is skipped. DOT is written for Graphviz: the block
-- hierarchy, with the changes of step 5. At a prompt, dofile("examples/demo.lua") leaves the drawings open.
local source = debug.getinfo(1, "S").source
local hierarchy = dofile((source:match("^@(.*/)") or "./") .. "hierarchy.lua")
local isStarted = arg ~= nil and source == "@" .. tostring(arg[0])
local template, dotFile = table.unpack(isStarted and arg or {}, 1, 2)
if isStarted and (#arg > 2 or tostring(template):match("^%-")) then
  print("usage: kzhost examples/demo.lua [TEMPLATE [DOT]]")
  os.exit(template:match("^%-%-help$") and 0 or 2)
end

-- ---- output and checks

local stepNumber = 0

local function step(title)
  stepNumber = stepNumber + 1
  print(("\n%d. %s"):format(stepNumber, title))
end

local function shown(code) print("   > " .. code) end

local function report(isTrue, text)
  print("   " .. text)
  if not isTrue then error("check failed: " .. text, 2) end
end

local called = {} -- names of the blocks whose clients were called, in order

local function takeCalled()
  local names = called
  called = {}
  return names
end

-- Prints which clients were called and why. `reasons` is a list of pairs: name, reason. No other client may have been
-- called.
local function reportCalled(reasons)
  local names, isCalled = takeCalled(), {}
  for _, name in ipairs(names) do isCalled[name] = true end
  for _, each in ipairs(reasons) do
    report(isCalled[each[1]], ("called: %-13s %s"):format(each[1], each[2]))
  end
  report(#names == #reasons, "No other callback was called, and none twice.")
end

-- ---- the drawings

-- A site with trees, to be attached to the building.
local function drawSite()
  local site = host.open("Site")
  local tree = site:block("Tree")
  for _, species in ipairs({ "ash", "lime", "plum" }) do site:modelSpace():insert(tree, { SPECIES = species }) end
  return site
end

local function drawRooms(building)
  local door, handle = building:block("Door"), building:block("Handle")
  local window, desk = building:block("Window"), building:block("Desk")
  local room, hall = building:block("Room"), building:block("Meeting room")
  for _ = 1, 2 do door:insert(handle) end
  desk:enhance()
  local wideDesk = desk:represent()
  room:insert(door, { NUMBER = "1.01", FIRE = "T30" })
  for _ = 1, 2 do room:insert(window) end
  room:insert(desk)
  hall:insert(door, { NUMBER = "1.02", FIRE = "T90" })
  for _ = 1, 3 do hall:insert(window) end
  for _ = 1, 4 do hall:insert(wideDesk) end
  return room, hall, wideDesk
end

-- Three floors of four rooms and a meeting room, a ground floor, a door schedule on paper, the site around it.
local function drawBuilding(site)
  local building = host.open("Office building")
  local room, hall, wideDesk = drawRooms(building)
  local floor, ground = building:block("Floor"), building:block("Ground floor")
  for _ = 1, 4 do floor:insert(room) end
  floor:insert(hall)
  ground:insert(building:find("Door"), { NUMBER = "0.01", FIRE = "none" })
  building:modelSpace():insert(ground)
  for level = 1, 3 do building:modelSpace():insert(floor, { LEVEL = tostring(level) }) end
  building:find("*Paper_Space"):insert(building:block("*T1"))
  building:modelSpace():insert(building:attach(site, "Site"))
  return building, wideDesk
end

local function writeHierarchy(building, wideDesk, picture)
  if not dotFile then return end
  picture.representations = { [wideDesk] = building:find("Desk") }
  local file, problem = io.open(dotFile, "w")
  local isWritten = file and file:write((hierarchy.dot(building, picture)))
  if file and not file:close() or not isWritten then
    io.stderr:write("demo.lua: ", problem or dotFile .. ": cannot be written", "\n")
    os.exit(1)
  end
end

-- ---- the steps

print("Zelvane watches the blocks of drawings for other modules of a CAD host. Here the host is")
print("kzhost, which keeps drawings in memory and is driven by this script.")

step("The host loads the module")
shown("zelvane = host.load()")
local zelvane = assert(host.load())
report(zelvane.apiVersion == 0x130000 and host.services()[1] == "Zelvane",
  "It uses version 0x130000 of the host's interface and is registered as the service \"Zelvane\".")

step("A drawing: an office building")
local site = drawSite()
local building, wideDesk = drawBuilding(site)
report(#building:find("Floor"):references() == 3, "Model space contains a ground floor, 3 floors, and the attached drawing of the site.")
report(#building:find("Room"):references() == 4, "A floor contains 4 rooms and a meeting room; a room a door, 2 windows and a desk; a door 2 handles.")
report(#wideDesk:references() == 4, "The desk is an enhanced block. Its wide representation, " .. wideDesk.name .. ", is placed 4 times in the meeting room.")

step("Clients attach to blocks")
local watched = { "Floor", "Room", "Meeting room", "Door", "Handle", "Window", "Desk", "Site|Tree" }
local clients = {}
shown('zelvane.kzdxBlockReferenceMonitorAttach(building, { building:find("Door") }, client)')
local accepted = 0
for _, name in ipairs(watched) do
  clients[name] = host.client(function() table.insert(called, name) end)
  accepted = accepted + zelvane.kzdxBlockReferenceMonitorAttach(building, { building:find(name) }, clients[name])
end
report(accepted == 8, "The same for 7 more blocks: " .. table.concat(watched, ", ", 1, 3) .. ", Handle, Window, Desk, Site|Tree.")

step("A door gets another number")
shown('building:find("Door"):references()[1]:set("NUMBER", "1.17")')
building:find("Door"):references()[1]:set("NUMBER", "1.17")
report(#called == 0, "During the edit, no callback is called. Then the host is idle:")
shown("host.idle()")
host.idle()
reportCalled({
  { "Door", "one of its references changed" },
  { "Handle", "nested in Door" },
})
shown("host.idle()")
host.idle()
report(#called == 0, "No edit since then: no callback was called.")

step("A fourth floor is inserted")
shown('building:modelSpace():insert(building:find("Floor"), { LEVEL = "4" })   host.idle()')
local before = hierarchy.of(building)
building:modelSpace():insert(building:find("Floor"), { LEVEL = "4" })
host.idle()
local changes = { [building:find("Floor")] = "itself" }
for _, name in ipairs({ "Room", "Meeting room", "Door", "Window", "Desk", "Handle" }) do
  changes[building:find(name)] = "inside"
end
changes[wideDesk] = "inside"
writeHierarchy(building, wideDesk, { changed = changes, before = before, all = true, edits = {
  { block = building:find("Floor"), container = building:modelSpace(), text = "a fourth floor is inserted" },
} })
reportCalled({
  { "Floor", "has one more reference" },
  { "Room", "nested in Floor" },
  { "Meeting room", "nested in Floor" },
  { "Door", "nested in Room and Meeting room" },
  { "Window", "nested in Room and Meeting room" },
  { "Desk", "nested in Room, and as " .. wideDesk.name .. " in Meeting room" },
  { "Handle", "nested in Door" },
})

step("A wide desk is erased, and a tree of the site is edited")
shown('building:find("*U1"):references()[1]:erase()   host.idle()')
wideDesk:references()[1]:erase()
host.idle()
reportCalled({ { "Desk", "its representation " .. wideDesk.name .. " changed" } })
shown('site:find("Tree"):references()[2]:set("SPECIES", "oak")   host.idle()')
site:find("Tree"):references()[2]:set("SPECIES", "oak")
host.idle()
reportCalled({ { "Site|Tree", "attached drawings are watched too" } })

step("An update without waiting for an idle check")
shown('building:find("Window"):references()[1]:erase()   zelvane.kzdxUpdateBlockGraph(building, false, true)')
building:find("Window"):references()[1]:erase()
zelvane.kzdxUpdateBlockGraph(building, false, true)
reportCalled({ { "Window", "before kzdxUpdateBlockGraph returned" } })

step("An idle timer: at most one call per second")
local ticks = 0
local tick = host.client(function() ticks = ticks + 1 end)
shown("zelvane.kzdxDocTimerAttach(building, tick, 1000, 1)")
zelvane.kzdxDocTimerAttach(building, tick, 1000, 1)
local function ticksAfter(ms)
  ticks = 0
  host.advance(ms)
  host.idle()
  return ticks
end
report(ticksAfter(400) == 0, "idle after  400 ms:    not called, too early")
report(ticksAfter(700) == 1, "idle after 1100 ms:    called once")
host.input(true)
report(ticksAfter(5000) == 0, "input is waiting:      not called, the host is not idle")
host.input(false)
report(ticksAfter(0) == 1, "idle again:            called once, although several intervals passed")
zelvane.kzdxDocTimerAttach(building, tick, 1000, 0)
report(ticksAfter(5000) == 0, "detached:              no longer called")

step("The tables of the drawing")
shown("zelvane.kzdxGetBlockRecordIdsOfKzDbTables(building)   zelvane.kzdxGetKzDbTableIds(building)")
local _, records = zelvane.kzdxGetBlockRecordIdsOfKzDbTables(building)
local _, tables = zelvane.kzdxGetKzDbTableIds(building)
local record, placed = building:object(records[1]), building:object(tables[1])
report(#records == 1 and record.name == "*T1", ("One block belongs to a table: id %d, %s."):format(record.id, record.name))
report(#tables == 1 and placed.block == record and placed.owner.name == "*Paper_Space",
  ("One table: id %d, placed in %s."):format(placed.id, placed.owner.name))

if template then
  step("The selection of a legacy template")
  shown("zelvane.kzdxReadLegacyBlkTemplate(" .. ("%q"):format(template:match("[^/]*$")) .. ")")
  local blocks, attributes = zelvane.kzdxReadLegacyBlkTemplate(template)
  report(table.concat(blocks, ", ") == "Door, Window", "blocks:     " .. table.concat(blocks, ", "))
  report(table.concat(attributes, ", ") == "FIRE, NUMBER, GLASS", "attributes: " .. table.concat(attributes, ", "))
end

step("The clients are detached, and the module is unloaded")
shown("zelvane.kzdxBlockReferenceMonitorDetach(building, client)   host.unload()")
for _, name in ipairs(watched) do zelvane.kzdxBlockReferenceMonitorDetach(building, clients[name]) end
report(building:find("Door"):reactors() == 0, "With the last client, the module stops watching the drawing.")
report(host.unload() == 0 and #host.services() == 0 and host.filters() == 0 and host.reactors() == 0,
  "The module left no service, no filter and no reactor in the host.")
