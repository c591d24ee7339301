-- Guards load and unload as the host sees them: what is registered at each point, refusals, and nothing left behind.

package.path = arg[0]:match("^(.*)/") .. "/?.lua;" .. package.path
local check = require("check")

local function expectNothing(when)
  check.equal(host.services(), {}, "services " .. when)
  check.equal(host.reactors(), 0, "reactors " .. when)
  check.equal(host.filters(), 0, "filters " .. when)
end

-- Load, open documents, unload, load again.
expectNothing("before")
local drawing = host.open("first")
for _ = 1, 2 do
  local module = assert(host.load())
  check.equal(module.apiVersion, 0x130000, "api version")
  check.equal(host.services(), {"Zelvane"})
  check.equal(host.reactors(), 1)
  check.equal(host.filters(), 0, "no timer runs yet")
  local other = host.open("second")
  check.equal(module.kzdxUpdateBlockGraph(other, true, false), 1)
  check.equal(module.kzdxDocTimerAttach(drawing, host.client(function() end), 0, 1), 1)
  check.equal(host.filters(), 1)
  other:close()
  check.equal(host.unload(module), 0)
  expectNothing("after unloading")
end
check.equal(host.messages(), {}, "message boxes")

-- Loaded twice: refused, and the first stays as it was.
do
  local first = assert(host.load())
  local again, result = host.load()
  check.equal(again, nil)
  check.equal(result, 3)
  check.equal(host.services(), {"Zelvane"})
  check.equal(host.unload(first), 0)
  expectNothing("after the second load")
end

-- A bare file name means beside kzhost, unless the working folder has it.
check.equal(host.load("NoSuch.hmx"), nil)
check.equal(host.unload(assert(host.load("Zelvane.hmx"))), 0)

-- Without its resource library.
do
  local empty = os.tmpname() .. ".d"
  local module, result = host.load(nil, empty)
  check.equal(module, nil)
  check.equal(result, 3)
  check.equal(#host.messages(), 1, "message boxes")
  check.equal(host.messages()[1].text, "Unable to load resource DLL: ZelvaneRes.dll")
  check.equal(host.messages()[1].style, 16)
  expectNothing("after a failed load")
end
