-- Command lines of the scripts in this folder: options with their help, and error exits.
--
--   local commandLine = dofile(folder .. "command_line.lua")("ldraw.lua")
--   local line = commandLine.read(arg, "usage: ...", { { "--dot", value = "FILE", help = "the purpose" } })
--
-- An option without a `value` is a switch; an option with `many = true` is repeatable.
local function helpText(usage, options)
  local lines = { usage, "" }
  for _, option in ipairs(options) do
    table.insert(lines, ("  %-16s %s"):format(option[1] .. " " .. (option.value or ""), option.help))
  end
  return table.concat(lines, "\n")
end

return function(script)
  local source = debug.getinfo(2, "S").source
  local commandLine = {}

  -- Whether the calling file was started as a script, not read by another script or at a prompt.
  commandLine.isStarted = arg ~= nil and source == "@" .. tostring(arg[0])

  -- Ends the script with an error message. At a prompt, which must survive, raises an error instead.
  function commandLine.stop(text, status)
    text = script .. ": " .. text
    if not commandLine.isStarted then error(text, 0) end
    io.stderr:write(text, "\n")
    os.exit(status or 1)
  end

  function commandLine.usageError(text)
    commandLine.stop(text .. " (see --help)", 2)
  end

  local function put(line, option, value)
    local name = option[1]:gsub("^%-%-", "")
    if not option.many then
      line[name] = value
    else
      line[name] = line[name] or {}
      table.insert(line[name], value)
    end
  end

  -- Returns the values of the options by name, without dashes, and the other words from 1. With --help, prints the help
  -- and returns nil.
  function commandLine.read(words, usage, options)
    local byName, line, at = {}, {}, 1
    for _, option in ipairs(options) do byName[option[1]] = option end
    while words[at] do
      local word = words[at]
      local option = byName[word]
      if word == "--help" or word == "-h" then return print(helpText(usage, options)) end
      if word:match("^%-") and not option then commandLine.usageError("unknown option: " .. word) end
      if option and option.value then
        at = at + 1
        put(line, option, words[at] or commandLine.usageError(word .. ": missing " .. option.value))
      elseif option then
        put(line, option, true)
      else
        table.insert(line, word)
      end
      at = at + 1
    end
    return line
  end

  return commandLine
end
