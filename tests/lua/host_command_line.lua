-- Guards what kzhost does with its command line: what runs, in which order, with which `arg`, what the process ends
-- with, and that a module that cannot be loaded is reported in one line.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")
local kzhost = arg[-1]

-- All that a command line prints, standard error too, and at last the exit status.
local function run(words, input)
  local lines = {}
  local command = ("%q %s 2>&1 <<'END'\n%s\nEND\necho $?"):format(kzhost, words, input or "")
  for line in io.popen(command):lines() do lines[#lines + 1] = line end
  return lines
end

local showArg = [[print(arg[0], table.concat(arg, ' '), ...)]]
check.equal(run([[-e 'x = 1' -e "print(x, arg[0], arg[-1])" - -e -i --module]], "x = x + 1 print(x)" .. showArg),
  {"1\t-\tprint(x, arg[0], arg[-1])", "2", "-\t-e -i --module\t-e\t-i\t--module", "0"})
check.equal(run([[-e 'print(arg[0] == arg[-3], arg[1])']]), {"false\t-e", "0"})
check.equal(run([[-e "x = 5" -e "error('boom')" -e "print('not reached')" -]])[1], "(command line):1: boom")
check.equal(run([[-e "host.open('a') host.load() os.exit(7)"]]), {"7"})
check.equal(run([[-i -e "x = 5"]], "print(x + 1)")[1]:match("%d+$"), "6")
-- Wrong usage: one line.
local self = ("--trace %q %q"):format(arg[0], arg[0])
for _, wrong in ipairs({"", "--no-such-option", "--no-such-option -i -", "-e", "/no/such/script.lua", "/", self}) do
  local lines = run(wrong)
  check.equal({lines[1]:match("^kzhost: "), #lines, lines[2]}, {"kzhost: ", 2, "2"}, "kzhost " .. wrong)
end

-- What cannot be written is a failure. What scripts do to the globals, and to os.exit, ends nothing early.
for _, full in ipairs({"--trace /dev/full -e ''", "-e 'print(1)' >/dev/full", "--help >/dev/full",
  "-e 'os.exit()' --trace /dev/full"}) do
  local lines = run(full)
  check.equal(lines[#lines], "1", "kzhost " .. full)
end
local piped = [[bash -c '%s -e "for _ = 1, 1e5 do print(1) end" 2>/dev/null | head -1; echo ${PIPESTATUS[0]}']]
check.equal(io.popen(piped:format(kzhost)):read("a"), "1\n1\n", "into a pipe that is closed")
check.equal(run([[-e 'setmetatable(_G, {__index = error}) arg = nil' - a]], "print(...)"), {"a", "0"})
check.equal(run([[-e 'print(pcall(os.exit, {}) or host.open("open").name)']]), {"open", "0"})

-- A script that fails says where, and the host ends in order with all of this open.
do
  local lines = run("-", "local d = host.open('x'):modelSpace():open()\nerror('boom')")
  check.equal({lines[1], lines[2], lines[#lines]}, {"stdin:2: boom", "stack traceback:", "1"})
end

-- Each way in which a load fails, with the one line that says so.
local function load(words, loadArguments, message)
  local lines = run(("%s -e 'print((select(2, host.load(%s))))'"):format(words, loadArguments))
  assert(#lines == 3 and lines[1]:find(message, 1, true), table.concat(lines, "\n"))
  return lines[2]
end
load("--module /nonexistent", "", "/nonexistent: no such file")
load("", ("%q"):format(arg[0]), "cannot be opened as a library")
load("", [["libkzheadless.so"]], "not a module of this host: it does not export kzrxEntryPoint")
load("", [["ProbeOfOtherVersion.hmx"]], "built for version 0x120000 of the interface (expected: 0x130000)")
load("", [["ProbeOfMissingSymbol.hmx"]], "cannot be opened as a library")
check.equal(load("", [["ProbeRefusing.hmx"]], "kzrxEntryPoint returned 7"), "7")
check.equal(load("", [[nil, "/nonexistent"]], "kzrxEntryPoint returned 3 (library not found: ZelvaneRes.dll)"), "3")
check.equal(load("-e 'host.load()'", "", "kzrxEntryPoint returned 3 (already loaded)"), "3")

-- What goes wrong inside of a client says which one it was, be it an error or a crash.
local function inside(what)
  return table.concat(run("-", ([[
    local zelvane, house = host.load(), host.open("house")
    zelvane.kzdxDocTimerAttach(house, host.client(function() %s end, "Door"), 0, 1)
    host.idle()]]):format(what)), "\n")
end
assert(inside("error('boom')"):find('stdin:2: boom\nstack traceback:.*\nin the client "Door", stack traceback:'))
assert(#run("-e 'x = ='") == 2, "a syntax error has no traceback")
-- Of clients that fail together, inside a finalizer too, each is printed; the traceback has only the clients that the
-- error passed, although an equal one was raised before.
do
  local printed = table.concat(run("-", [[
    local zelvane, house = assert(host.load()), host.open("house")
    local wordless = setmetatable({}, {__tostring = function() error("no C") end})
    for _, what in ipairs({"no A", "no B", wordless, "no D"}) do
      zelvane.kzdxDocTimerAttach(house, host.client(function() error(what, 0) end), 0, 1)
    end
    setmetatable({}, {__gc = host.idle})
    collectgarbage()
    host.idle()]]), "\n")
  for _, text in ipairs({"no A", "no B", "no C", "no D"}) do check.equal(select(2, printed:gsub(text, "")), 2, printed) end
  check.equal(select(2, printed:gsub("in the client", "")), 1, printed)
end
-- What finalizers open and load after the end is closed and unloaded too.
do
  local lines = run("--trace - -", [[setmetatable({}, {__gc = function() host.open("late") host.load() end})]])
  assert(table.concat(lines, "\n"):find("kzrxEntryPoint: Zelvane.hmx, message 2", 1, true))
  assert(lines[#lines - 1]:find('^documentDestroyed: document "late"'), lines[#lines - 1])
end
-- A command's document that is closed inside of it is not reported again.
do
  local lines = table.concat(run("--trace - -", [[host.load() host.open("a")
    host.command("CLOSE", function() host.current():close() end)]]), "\n")
  assert(lines:find("command CLOSE", 1, true) and not lines:find("command #CLOSE", 1, true), lines)
end
assert(inside("os.execute('kill -SEGV $PPID')"):find('crashed in the client "Door"', 1, true))
