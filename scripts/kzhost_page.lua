-- Prints docs/kzhost.md, made of `kzhost --help` and of the comments in headless/kzhost/api.lua:
--   build/dev/bin/kzhost scripts/kzhost_page.lua > docs/kzhost.md

local kzhost, folder = arg[-1], arg[0]:match("^(.*)/") .. "/../headless/kzhost/"

local function read(file)
  local text = file:read("a")
  file:close()
  return text
end

local usage = read(io.popen(("%q --help"):format(kzhost))):gsub("%s+$", "")
local _, entries = assert(loadfile(folder .. "help.lua"))(read(assert(io.open(folder .. "api.lua"))), {})

print([[
# kzhost: reference

<!-- Made by: kzhost scripts/kzhost_page.lua > docs/kzhost.md -->

`kzhost` keeps drawings in memory, loads extension modules, runs a message loop, and is driven by Lua 5.4
scripts. At its prompt `help()` prints the same descriptions. `kzhost --declarations` prints them for editors that run
the Lua language server.

## The command

```
]] .. usage .. [[
```

The exit status is 0 if everything is done, 1 if a script failed (`file:line: message` and a traceback are on standard
error, or output could not be written), and 2 after wrong usage. `-i` does not change it, whatever happens at the prompt.
With `-e` alone nothing is read from standard input. A script may end with documents open and modules loaded: the host
unloads and closes them.

The prompt completes names with the tab key and keeps its history in `kzhost/history` in the user's state folder
(`$XDG_STATE_HOME`, else `~/.local/state`). Ctrl-C stops the Lua code that runs, also in
coroutines and clients, or clears the line being typed; a second Ctrl-C ends a process that does not stop. On Windows
`kzhost` runs scripts only.

## General rules

Strings are UTF-8 in Lua and UTF-16 in the host. A wrong argument, a string that is not valid UTF-8, a closed document
and an object that no longer exists raise an error that says what was expected and what came. The same document or
object is always the same value, so values can be compared and used as keys of tables.

Every edit opens what it changes for write: the reactors of the object are notified that it is about to change, once
per edit and before the change, that it was modified, after the change, and finally that it was closed.

In the examples `house` is an open document with the blocks `door` and `room`, `placed` is a reference of `door` in
`room` with the attribute `number` under the tag NUMBER, `zelvane` is the loaded module, and `client` is a client.]])

local function printText(entry)
  local text = entry.text:gsub("Example: `(.-)`\n", "\n```lua\n%1\n```\n"):gsub("```\n%- ", "```\n\n- ")
  io.write("\n", text)
end

for _, entry in ipairs(entries) do
  if entry.kind == "heading" then print("\n## " .. entry.title) end
  if entry.owner then print("\n### `" .. entry.title .. "`") end
  local example = "\n```lua\n%1\n```\n"
  if entry.text ~= "" then io.write("\n", (entry.text:gsub("Example: `(.-)`\n", example):gsub("```\n%- ", "```\n\n- "))) end
  if entry.base and entry.base ~= "" then print("\nThe members of every " .. entry.base .. " are available too.") end
end
