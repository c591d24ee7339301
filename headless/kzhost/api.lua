---@meta

-- The Lua interface of kzhost, annotated for the Lua language server. `kzhost --declarations` prints this file, `help`
-- prints its comments, and docs/kzhost.md is generated from it. Each annotation is one line; the example of a function
-- is the last line before its annotations.

-- ## Help

---Prints the available functions, or the description of a function, table or value.
---Example: `help(host.idle)`
---@param thing? any # a function, a table or a value of the host, or a name in quotes
function help(thing) end

---Prints a traceback of the last error at the prompt, including the calls in clients.
---Example: `traceback()`
function traceback() end

-- ## The host

---The host: documents, commands, messages and modules.
---@class host
host = {}

-- ## Documents of the host

---Opens a document with an empty drawing (layout records `*Model_Space` and `*Paper_Space`, in this order) and makes
---it current.
---Example: `local garden = host.open("garden")`
---@param name string # its name
---@param options? {database: boolean} # `database = false`: the document has no drawing
---@return document document # the new document
function host.open(name, options) end

---Lists the open documents, in the order of opening.
---Example: `for _, each in ipairs(host.documents()) do print(each.name) end`
---@return document[] documents # the list
function host.documents() end

---Returns the current document. With an argument, makes that document current first.
---Example: `host.current(house)`
---@param document? document # the document to make current
---@return document? current # nil if no document is open
function host.current(document) end

-- ## Commands

---Runs a command on the current document: reports the lock mode as changed for the command, calls the function with
---the command active, then reports the lock mode as changed for `"#" .. name` with the command no longer active. Does
---not dispatch messages. Raises an error if no document is open.
---Example: `host.command("ERASE", function() placed:erase() end)`
---@param name string # the name of the command
---@param fn fun() # the action of the command
---@return any ... # the results of the function
function host.command(name, fn) end

---Reports one lock-mode change of a document for a command, and does nothing else.
---Example: `host.lock(house, "#idle")`
---@param document document # the document
---@param name? string # the name of the command; nil is a null name
function host.lock(document, name) end

-- ## Messages and the clock

---Makes the host idle: reports a lock-mode change of the current document for `#idle`, then dispatches messages as
---`host.pump` does.
---Example: `host.idle()`
---@return integer messages # number of dispatched messages
---@return integer taken # number of messages that a filter took
function host.idle() end

---Dispatches queued messages until the queue is empty, including messages that are posted meanwhile. May be called in a
---callback.
---Example: `host.pump()`
---@return integer messages # number of dispatched messages
---@return integer taken # number of messages that a filter took
function host.pump() end

---Posts a message to the main window.
---Example: `host.post(host.registerMessage("hello"), house, 0)`
---@param number integer # the message, modulo 2^32
---@param first? integer|document # the first parameter; default 0; for a document, its address
---@param second? integer|document # the second parameter; default 0; for a document, its address
function host.post(number, first, second) end

---Returns the number of a registered message. Registers the name if necessary.
---Example: `print(host.registerMessage("hello"))`
---@param name string # the name of the message
---@return integer number # the number; constant for a name in this process
function host.registerMessage(name) end

---Returns the tick count: an unsigned 32-bit number of milliseconds. The tick count is virtual: it starts at 0 and
---moves only by this function and `host.advance`.
---Example: `print(host.ticks())`
---@param value? integer # the new tick count, modulo 2^32
---@return integer ticks # the tick count
function host.ticks(value) end

---Moves the tick count forward, with wrap-around.
---Example: `host.advance(1000)`
---@param ms integer # milliseconds
function host.advance(ms) end

---Returns whether keyboard or mouse input is waiting; initially false.
---Example: `host.input(true)`
---@param waiting? boolean # the new state
---@return boolean waiting # the current state
function host.input(waiting) end

-- ## Loading of modules

---Loads an extension module: opens the library, checks that it was built for this version of the interface, and calls
---its entry point with message 1. A module that does not return 0 is closed again at once. Several modules can be
---loaded. If loading fails, one line on standard error says why.
---Example: `local zelvane = assert(host.load())`
---@param path? string # the library; default: that of `--module`, or `Zelvane.hmx` beside `kzhost` or in the folder of installed modules. A bare file name is looked up in the working folder, then in the folder of the default module
---@param resources? string # the folder in which libraries loaded by bare name are looked up first; default: the folder of the default module
---@return module? module # nil if loading failed
---@return integer|string? result # the result of the module, or the reason why it was not called
function host.load(path, resources) end

---Calls the entry point of a module with message 2 and closes the library. From inside a call into a module, the
---library is closed when the last such call has returned. A filter that the module left registered is removed first.
---Raises an error and unloads nothing while an object is held open.
---Example: `print(host.unload())`
---@param module? module # the module; default: the module loaded last
---@return integer result # the result of the module; 0 if it was not loaded
function host.unload(module) end

---Creates a client callback: a plain C function without arguments and result that calls a Lua function. An error of
---the Lua function is raised in the script after the module has returned; if several clients fail, the first error is
---raised and the others are printed. Raises an error if all 1024 clients are in use: a client is in use while the
---script refers to it, or while a document is open and a module loaded to which it is attached.
---Example: `local caller = host.client(function() print("a door was changed") end, "Door")`
---@param fn fun() # the function to call
---@param name? string # the name of the client in traces and messages; default: the line of the function
---@return client client # the client, for the exports of a module
function host.client(fn, name) end

-- ## Queries, failures and traces

---Lists the message boxes shown so far.
---Example: `for _, box in ipairs(host.messages()) do print(box.text) end`
---@return {text: string, style: integer}[] boxes # the list
function host.messages() end

---Lists the names of the registered services, in ascending order.
---Example: `print(table.concat(host.services(), ", "))`
---@return string[] services # the list
function host.services() end

---Counts the registered message filters.
---Example: `print(host.filters())`
---@return integer filters # the number
function host.filters() end

---Counts the reactors of the document manager.
---Example: `print(host.reactors())`
---@return integer reactors # the number
function host.reactors() end

---Makes host calls of modules fail, or succeed again: `"filter"` (registering and removing message filters returns 0),
---`"manager"` (there is no document manager; registered reactors are still notified), `"iterator"` (there is no
---document iterator) or `"window"` (there is no main window).
---Example: `host.refuse("window", true)`
---@param what "filter"|"manager"|"iterator"|"window" # the calls that fail
---@param refused boolean # whether they fail
function host.refuse(what, refused) end

---Traces all events from now on, in order and indented by nesting: edits and their ends, notifications with the number
---of reactors, lock-mode changes, messages, calls into and out of modules. The option `--trace` traces a whole run.
---docs/tracing.md explains an example.
---Example: `host.trace(true) door:touch() host.trace(false)`
---@param to? boolean|string # true (default): lines on standard error; a path: a file of trace events; false: ends the trace
function host.trace(to) end

-- ## Modules and their exports

---A module, as returned by `host.load`. The exports are those of `Zelvane.hmx`, which docs/exports.md describes in full,
---and are called with a dot. Documents, records, ids and clients are passed as values of this interface; nil is a null
---pointer.
---@class module
---@field apiVersion integer # the version of the interface that the module was built for
---@field path string # the file that the module was loaded from
local module = {}

---Calls the client when the document is idle, at most once per interval. The interval of the latest call applies to all
---clients of the document.
---Example: `zelvane.kzdxDocTimerAttach(house, client, 1000, 1)`
---@param document document? # the document
---@param client client? # the client
---@param interval integer # milliseconds, modulo 2^32
---@param attach integer # 1 attaches, 0 detaches
---@return integer result # 1; 0 for nil or a document without a drawing
function module.kzdxDocTimerAttach(document, client, interval, attach) end

---Calls the client once, when the document is idle after edits, if one of the blocks changed or is nested, at any
---depth, in a block that changed.
---Example: `zelvane.kzdxBlockReferenceMonitorAttach(house, {door}, client)`
---@param document document? # the document
---@param ids (integer|object)[]? # the blocks
---@param client client? # the client
---@return integer result # 1; 0 for nil, an empty list or a document without a drawing
function module.kzdxBlockReferenceMonitorAttach(document, ids, client) end

---Detaches the client from all blocks of the document.
---Example: `zelvane.kzdxBlockReferenceMonitorDetach(house, client)`
---@param document document? # the document
---@param client client? # the client
function module.kzdxBlockReferenceMonitorDetach(document, client) end

---Processes edits now instead of when the document is idle.
---Example: `zelvane.kzdxUpdateBlockGraph(house, false, true)`
---@param document document? # the document
---@param force boolean|integer # whether to update without edits
---@param notify boolean|integer # whether to call the clients
---@return integer result # 1 if the document has a block graph, else 0
function module.kzdxUpdateBlockGraph(document, force, notify) end

---Finds the block records that belong to tables.
---Example: `print(zelvane.kzdxGetBlockRecordIdsOfKzDbTables(house))`
---@param document document? # the document
---@param ids? (integer|object)[] # the content of the array before the call
---@return integer result # 1; 0 for nil or a document without a drawing
---@return integer[] ids # the content of the array after the call
function module.kzdxGetBlockRecordIdsOfKzDbTables(document, ids) end

---Finds the tables: the references of the records that belong to tables.
---Example: `print(zelvane.kzdxGetKzDbTableIds(house))`
---@param document document? # the document
---@param ids? (integer|object)[] # the content of the array before the call
---@return integer result # 1; 0 for nil or a document without a drawing
---@return integer[] ids # the content of the array after the call
function module.kzdxGetKzDbTableIds(document, ids) end

---Reads the names that a legacy template file selects. The lists are returned empty if the file cannot be read.
---Example: `print(zelvane.kzdxReadLegacyBlkTemplate("doors.tpl"))`
---@param path string # the file
---@param blocks? string[] # the content of the list of blocks before the call
---@param attributes? string[] # the content of the list of attributes before the call
---@return string[] blocks # names of the selected blocks
---@return string[] attributes # names of the attributes selected in them
function module.kzdxReadLegacyBlkTemplate(path, blocks, attributes) end

-- ## Documents

---A document, as returned by `host.open`. All members except `name`, `close`, `ready`, `busy` and `lockMode` require a
---document with a drawing.
---@class document
---@field name string # the name given to `host.open`
local document = {}

---Closes the document. The reactors of the document manager are notified that it is about to be closed; then the
---reactors of every object of its drawing are notified by `goodbye`, in order of creation; then those of the document
---manager are notified that the document was destroyed. If it was the current document, the most recently opened one
---becomes current. Raises an error if the document is being edited or closed already.
---Example: `house:close()`
function document:close() end

---Returns the readiness that modules can query; initially true.
---Example: `house:ready(false)`
---@param readiness? boolean # the new state
---@return boolean readiness # the state
function document:ready(readiness) end

---Returns the busy number that modules can query; initially 0.
---Example: `house:busy(1)`
---@param number? integer # the new number
---@return integer number # the number
function document:busy(number) end

---Returns the lock mode that modules can query; initially 0. Setting it sends no notification; `host.lock` sends one.
---Example: `house:lockMode(2)`
---@param mode? integer # the new mode
---@return integer mode # the mode
function document:lockMode(mode) end

---Creates a block table record at the end of the table, by an edit of the block table. The record is anonymous if its
---name begins with `*`, unless it is a layout or `anonymous` says otherwise. Raises an error if the name is empty or
---another record of the drawing has it, also an erased one.
---Example: `local window = house:block("Window")`
---@param name string # its name
---@param options? {layout: boolean, anonymous: boolean, dependent: boolean} # its properties
---@return record record # the new record
function document:block(name, options) end

---Finds a record by name.
---Example: `print(house:find("Door").id)`
---@param name string # its name
---@return record? record # nil if no record that is not erased has the name
function document:find(name) end

---Returns the layout record `*Model_Space`.
---Example: `house:modelSpace():insert(door)`
---@return record? record # the record
function document:modelSpace() end

---Lists the records in the order of the block table, without erased ones.
---Example: `for _, record in ipairs(house:records()) do print(record.name) end`
---@return record[] records # the list
function document:records() end

---Attaches the drawing of another open document: creates a record from an external reference and, for each record B of
---`other` that is not a layout, a dependent record `name|B`, which reports the references of B, live and erased,
---followed by those that insert the dependent record here. Erased records of `other`, and records of drawings attached
---to it, are skipped. A drawing can be attached more than once, under other names. Raises an error if a name is taken,
---and if a drawing is attached to itself.
---Example: `house:attach(host.open("garden"), "Garden")`
---@param other document # the document that owns the drawing
---@param name string # the name of the record
---@return record record # the record from the external reference
function document:attach(other, name) end

---Finds an object of the drawing by its id.
---Example: `print(house:object(door.id))`
---@param id integer # the id
---@return object? object # nil if the drawing has no such object in memory
function document:object(id) end

-- ## Objects

---The common members of records, references and attributes. An edit of an erased object, or across drawings, raises an
---error.
---@class object
---@field id integer # the id: unique in the process, ascending in the order of creation, never reused. Available even if the object no longer exists
local object = {}

---Opens the object for write and closes it: an edit that changes nothing. Raises an error if the object is erased or
---held open.
---Example: `door:touch()`
function object:touch() end

---Erases or unerases the object. An erased record keeps its references, both those that insert it and those placed in
---it; an erased reference moves from its block's live references to the erased ones. Has no effect if the object is in
---that state already. Raises an error if the object is held open.
---Example: `placed:erase()`
---@param erasing? boolean # false unerases
function object:erase(erasing) end

---Returns whether the object itself is erased; false for an object that no longer exists.
---Example: `print(door:erased())`
---@return boolean erased # whether the object is erased
function object:erased() end

---Counts the reactors of the object. A reactor that was added twice is counted once.
---Example: `print(door:reactors())`
---@return integer reactors # the number
function object:reactors() end

---Opens the object for write and holds it open, as during an edit by a user. Its reactors are notified immediately that
---it is about to change. Until `object:close`, every other open of the object fails, and so does an edit.
---Raises an error if the object is erased or open already.
---Example: `door:open()`
function object:open() end

---Closes an object that is held open and notifies its reactors. Raises an error if the object is not held open.
---Example: `door:open() door:close()`
function object:close() end

-- ## Records

---A block table record: a block or layout of a drawing.
---@class record: object
---@field name string # its name
local record = {}

---Places a new reference of a block in this record, by an edit of this record. A block may be placed anywhere in its
---drawing, in itself too. Raises an error if the block or the record is erased or they belong to different drawings.
---Example: `room:insert(door, {NUMBER = "1.18"})`
---@param block record # the block to place
---@param attributes? table<string, string> # the texts of its attributes by tag, created in ascending order of tags
---@return reference reference # the new reference
function record:insert(block, attributes) end

---Lists the references that insert this record, in order of creation.
---Example: `print(#door:references())`
---@param erased? boolean # true lists the erased ones instead of the live ones
---@return reference[] references # the list
function record:references(erased) end

---Makes the record an enhanced block: adds an evaluation graph under the host's key for enhanced blocks. A record that
---has one keeps it; this is an edit too.
---Example: `door:enhance()`
function record:enhance() end

---Makes a record a representation of this enhanced block. All references that insert the representation, whenever they
---were created, refer to this record. Whether it is anonymous does not change. Raises an error if this record is not
---enhanced, or the other record already represents a block.
---Example: `door:enhance() door:represent()`
---@param record? record # the representation; default: a new anonymous record, named `*U1`, `*U2` and so on
---@return record representation # the representation
function record:represent(record) end

---Renames the record. Whether it is anonymous does not change. Raises an error if another record of the drawing has
---the name, also an erased one.
---Example: `door:rename("Gate")`
---@param name string # the new name
function record:rename(name) end

-- ## References

---A reference: a block, placed in a record.
---@class reference: object
---@field block record # the record that is placed
---@field owner record # the record in which it is placed
local reference = {}

---Returns the text of an attribute.
---Example: `print(placed:get("NUMBER"))`
---@param tag string # the tag of the attribute
---@return string? text # nil if no attribute that is not erased has the tag
function reference:get(tag) end

---Changes the text of an attribute: an edit of the attribute alone. Raises an error if no attribute has the tag, or the
---attribute is erased.
---Example: `placed:set("NUMBER", "1.19")`
---@param tag string # the tag of the attribute
---@param text string # its new text
function reference:set(tag, text) end

---Adds an attribute, by an edit of the reference.
---Example: `placed:add("COLOUR", "green")`
---@param tag string # the tag of the attribute
---@param text string # its text
---@return attribute attribute # the new attribute
function reference:add(tag, text) end

---Returns an attribute as an object.
---Example: `placed:attribute("NUMBER"):touch()`
---@param tag string # the tag of the attribute
---@return attribute? attribute # the first live attribute with the tag, otherwise the first erased one
function reference:attribute(tag) end

---Moves the reference to another record: an edit of the reference, of its old owner and of its new owner. Raises an
---error if they belong to different drawings.
---Example: `placed:move(house:modelSpace())`
---@param record record # the new owner
function reference:move(record) end

---Copies the reference and its attributes that are not erased. The reactors of the reference are notified of the copy
---before it is placed, which edits the record that takes it.
---Example: `placed:copy()`
---@param record? record # the owner of the copy; default: the same record
---@return reference copy # the copy, which has no reactors
function reference:copy(record) end

---Removes the attributes and the reference from memory. Their reactors are notified by `goodbye`. Then the id is no
---longer valid, and no list reports the reference.
---Example: `placed:goodbye()`
function reference:goodbye() end

-- ## Attributes

---An attribute: a text under a tag, which belongs to a reference.
---@class attribute: object
---@field owner reference # the reference that it belongs to
---@field text string # its text
local attribute = {}

---Removes the attribute from memory. Its reactors are notified by `goodbye`. Then its id is no longer valid.
---Example: `number:goodbye()`
function attribute:goodbye() end

-- ## Clients

---A client, as returned by `host.client`.
---@class client
---@field address integer # the address of the C function. Modules call clients in ascending order of addresses
local client = {}
