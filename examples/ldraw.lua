-- Opens an LDraw model as a drawing, edits it, and reports the blocks whose clients were called.
--
--   kzhost examples/ldraw.lua MODEL --blocks
--   kzhost examples/ldraw.lua MODEL [OPTION]... [EDIT]...
--   kzhost examples/ldraw.lua --help
--
-- At a prompt:
--
--   ldraw = dofile("examples/ldraw.lua")
--   ldraw("examples/wagon.mpd", "touch", "wheelset.ldr", "bogie.ldr")
local folder = debug.getinfo(1, "S").source:match("^@(.*/)") or "./"
local commandLine = dofile(folder .. "command_line.lua")("ldraw.lua")
local commands = dofile(folder .. "ldraw_commands.lua")(commandLine, dofile(folder .. "hierarchy.lua"))

if commandLine.isStarted then commands.report(arg) end
return function(...) commands.report({ ... }) end
