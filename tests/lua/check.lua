-- What the scripts share: comparisons that say what was expected and what came.

local check = {}

local function show(value)
  if type(value) ~= "table" then return tostring(value) end
  local parts = {}
  for _, item in ipairs(value) do parts[#parts + 1] = show(item) end
  return "{" .. table.concat(parts, ", ") .. "}"
end

--- Fails unless `came` equals `expected`; lists compare by their items.
function check.equal(came, expected, what)
  if show(came) ~= show(expected) then
    error(("%s: expected %s, got %s"):format(what or "value", show(expected), show(came)), 2)
  end
end

--- Fails unless `fn` raises an error that contains `text`.
function check.raises(text, fn)
  local ok, message = pcall(fn)
  if ok then error("expected an error with '" .. text .. "'", 2) end
  if not tostring(message):find(text, 1, true) then
    error("expected an error with '" .. text .. "', got: " .. tostring(message), 2)
  end
end

--- A log of calls: `log:client(name [, fn])` makes a client that writes its name and runs `fn`; `log:take()` gives
--- the names since the last time, in the order of the calls.
function check.log()
  local log = {calls = {}}
  function log:client(name, fn)
    return host.client(function()
      table.insert(self.calls, name)
      if fn then fn() end
    end)
  end
  function log:take()
    local calls = self.calls
    self.calls = {}
    return calls
  end
  --- Several clients in ascending order of address, named "1", "2" and so on in that order; `fns` by number.
  function log:clients(count, fns)
    local made, names = {}, {}
    for at = 1, count do
      local client
      client = host.client(function()
        local name = names[client]
        table.insert(self.calls, name)
        if fns and fns[name] then fns[name]() end
      end)
      made[at] = client
    end
    table.sort(made, function(a, b) return math.ult(a.address, b.address) end)
    for place, client in ipairs(made) do names[client] = place end
    return made
  end
  return log
end

return check
