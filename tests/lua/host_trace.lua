-- Guards what a trace tells: that the example of docs/tracing.md is true, and that the file of --trace is whole and
-- balanced however the process ends.

local folder = arg[0]:match("^(.*)/")
package.path = folder .. "/?.lua;" .. package.path
local check = require("check")

local function read(file)
  local text = file:read("a")
  file:close()
  return text
end

-- The text in the page is what its script prints.
do
  local page = read(assert(io.open(folder .. "/../../docs/tracing.md")))
  local script, expected = page:match("```lua\n(.-)```.-```text\n(.-)```")
  local came = read(io.popen(("%q - 2>&1 <<'END'\n%sEND\n"):format(arg[-1], script)))
  check.equal(came, expected, "the trace in docs/tracing.md")
end

-- Runs a script under --trace; gives its exit status and the events, which Python has found to be well-formed.
local function trace(script)
  local path = os.tmpname()
  local _, _, status = os.execute(("%q --trace %s - <<'END' 2>/dev/null\n%s\nEND"):format(arg[-1], path, script))
  assert(os.execute("python3 -m json.tool " .. path .. " >/dev/null"), "not JSON")
  local events = {}
  for line in io.lines(path) do
    local kind = line:match('"ph":"(%u)"')
    if kind then events[#events + 1] = {kind = kind, text = line, time = tonumber(line:match('"ts":([%d.]+)'))} end
  end
  os.remove(path)
  return status, events
end

local function find(events, ...)
  for at, event in ipairs(events) do
    local hasAll = true
    for _, text in ipairs({...}) do hasAll = hasAll and event.text:find(text, 1, true) end
    if hasAll then return at end
  end
  error("no event with " .. table.concat({...}, ", "))
end

local attachAndRun = [[
local zelvane, house = host.load(), host.open("Haus \u{FC}ber \"Eck\"")
local client = host.client(function() %s end, "Tick")
zelvane.kzdxDocTimerAttach(house, client, 0, 1)
host.idle()
]]

-- Ended from inside of a client: every event that has begun ends, inner ones before outer ones, in order of time.
do
  local status, events = trace(attachAndRun:format("os.exit(4)"))
  check.equal(status, 4)
  local open = {}
  for at, event in ipairs(events) do
    assert(at == 1 or event.time >= events[at - 1].time, event.text)
    local name = event.text:match('"name":"(.-)","p')
    if event.kind == "B" then open[#open + 1] = name else check.equal(name, table.remove(open)) end
  end
  check.equal(#open, 0, "events without an end")
  local attach = find(events, '"kzdxDocTimerAttach"', '"attach":1', [["client":"client \"Tick\""]], "Haus über")
  assert(events[attach + 1].text:find('"result":1', 1, true))
  assert(find(events, '"message shown"') < find(events, [["client \"Tick\""]], '"cat":"client"'))
  find(events, '"kzrxEntryPoint"', '"message":2', "Zelvane.hmx", '"ph":"B"')
end

-- Killed in the middle of everything: what was told until then is there.
do
  local _, events = trace(attachAndRun:format("os.execute('kill -9 $PPID')"))
  check.equal(events[#events].text:match('"name":"(client .-)"'), [[client \]])
end

-- A script traces to a file of its own from here to there, beside the trace of the run.
do
  local path = os.tmpname()
  local _, events = trace(([[
    local door = host.open("house"):block("Door")
    host.trace("%s")
    door:touch()
    host.trace(false)
    door:rename("Gate")]]):format(path))
  find(events, '"edit touch"')
  local own = read(assert(io.open(path)))
  os.remove(path)
  assert(own:find('"edit touch"', 1, true) and own:find("\n]}\n$"), own)
  assert(not own:find("new record", 1, true) and not own:find("rename", 1, true), own)
  check.raises("cannot write the trace", function() host.trace("/nonexistent/trace") end)
end
