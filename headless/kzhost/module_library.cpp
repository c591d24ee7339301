#include "headless/kzhost/clients.h"
#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/module_call.h"
#include "headless/modules.h"
#include "host/module_interface.h"
#include "text/paths.h"
#include "zelvane/zelvane.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace KzHost {

using Headless::ModuleId;

namespace {

// The address of this is the key of the setup.
constexpr char setupKey = 0;

/// What a Lua value of a module holds. The id is not used again, so it may outlive the module.
struct ModuleValue {
    ModuleId id;
};

// ---- exports. Each closure has the number of its module as its second upvalue.

ModuleId moduleOf(const Call& call) {
    return ModuleId(static_cast<std::uint32_t>(lua_tointeger(call.state(), lua_upvalueindex(2))));
}

/// An export of the module that is called, of the type that the public header declares. Asked for last: what
/// comes before may run a script's finalizers, and they may unload the module.
template <class F>
F exported(const Call& call, const char* name) {
    const ModuleId module = moduleOf(call);
    if (!Headless::isLoaded(module)) call.fail("the module is not loaded any more");
    void* const address = Headless::moduleExport(module, name);
    if (address == nullptr) call.fail("the module has no such export");
    return reinterpret_cast<F>(address);
}

/// A document argument: nil is a null pointer.
KzApDocument* documentOrNull(const Call& call, int index) {
    return call.has(index) ? call.document(index) : nullptr;
}

/// A flag, as a boolean or as a number that is 0 or not.
bool flag(const Call& call, int index, const char* what) {
    if (lua_isinteger(call.state(), index)) return call.integer(index, what) != 0;
    return call.boolean(index, what);
}

/// For what the module of this closure knows a client.
ClientUse useOf(const Call& call, const KzApDocument* document, ClientUse::Purpose purpose) {
    return {lua_tointeger(call.state(), lua_upvalueindex(2)), document, purpose};
}

/// The client that is attached, which stays from now on: before the call, so that at no moment the module
/// knows it and nothing keeps it.
ClientFunction keptClient(const Call& call, int index, const ClientUse& use) {
    const ClientFunction function = clientFunction(call, index);
    keepClient(call.state(), index, use);
    return function;
}

KzDbObjectId idAt(const Call& call, int index) {
    lua_State* const state = call.state();
    if (const ObjectValue* const object = toObject(state, index, Headless::Kind::none)) return object->id;
    return KzDbObjectId(static_cast<std::uint64_t>(call.integer(index, "an id (integer) or an object")));
}

/// Reads a list of ids or objects, without metamethods: they could close the document that goes with it.
void readIds(const Call& call, int index, KzDbObjectIdArray& ids) {
    call.table(index, "a list of ids or objects");
    lua_State* const state = call.state();
    const auto count = static_cast<lua_Integer>(lua_rawlen(state, index));
    for (lua_Integer at = 1; at <= count; ++at) {
        lua_rawgeti(state, index, at);
        ids.append(idAt(call, lua_gettop(state)));
        lua_pop(state, 1);
    }
}

/// What an export that appends to an array gives: its result and the whole array.
int giveIds(const Call& call, std::int32_t result, const KzDbObjectIdArray& ids) {
    lua_State* const state = call.state();
    lua_pushinteger(state, result);
    lua_createtable(state, ids.length(), 0);
    lua_Integer at = 0;
    for (const KzDbObjectId id : ids) {
        lua_pushinteger(state, static_cast<lua_Integer>(id.value()));
        lua_rawseti(state, -2, ++at);
    }
    return 2;
}

int giveResult(const Call& call, std::int32_t result) {
    lua_pushinteger(call.state(), result);
    return 1;
}

/// All exports are called alike: arguments are read, then the export is looked up, then it is called with a
/// guard around it, which keeps the library open should a client unload the module.
int docTimerAttach(Call& call) {
    KzApDocument* const document = documentOrNull(call, 1);
    const std::uint32_t interval = call.number32(3, "an interval (integer)");
    const auto attach = static_cast<std::int32_t>(call.number32(4, "whether to attach (integer)"));
    const ClientUse use = useOf(call, document, ClientUse::Purpose::timer);
    const ClientFunction client = keptClient(call, 2, use);
    auto* const function = exported<decltype(&kzdxDocTimerAttach)>(call, "kzdxDocTimerAttach");
    const Headless::ModuleCall guard;
    const std::int32_t result = function(document, client, interval, attach);
    // Afterwards: until the call is over the module may still know it.
    if (attach == 0) releaseClient(call.state(), 2, use);
    return giveResult(call, result);
}

int monitorAttach(Call& call) {
    KzApDocument* const document = documentOrNull(call, 1);
    KzDbObjectIdArray ids;
    if (call.has(2)) readIds(call, 2, ids);
    const ClientUse use = useOf(call, document, ClientUse::Purpose::monitor);
    const ClientFunction client = keptClient(call, 3, use);
    auto* const function =
        exported<decltype(&kzdxBlockReferenceMonitorAttach)>(call, "kzdxBlockReferenceMonitorAttach");
    const Headless::ModuleCall guard;
    return giveResult(call, function(document, call.has(2) ? &ids : nullptr, client));
}

int monitorDetach(Call& call) {
    KzApDocument* const document = documentOrNull(call, 1);
    const ClientFunction client = clientFunction(call, 2);
    auto* const function =
        exported<decltype(&kzdxBlockReferenceMonitorDetach)>(call, "kzdxBlockReferenceMonitorDetach");
    const Headless::ModuleCall guard;
    function(document, client);
    // A client that was not attached is not kept for that; then nothing happens.
    releaseClient(call.state(), 2, useOf(call, document, ClientUse::Purpose::monitor));
    return 0;
}

int updateBlockGraph(Call& call) {
    KzApDocument* const document = documentOrNull(call, 1);
    const bool isForced = flag(call, 2, "whether to force (boolean)");
    const bool isNotifying = flag(call, 3, "whether to notify (boolean)");
    auto* const function = exported<decltype(&kzdxUpdateBlockGraph)>(call, "kzdxUpdateBlockGraph");
    const Headless::ModuleCall guard;
    return giveResult(call, function(document, isForced, isNotifying));
}

/// The two table queries differ in their names alone. What the array holds before goes in, to show that it
/// stays.
template <class Query>
int tableQuery(const Call& call, const char* name) {
    KzApDocument* const document = documentOrNull(call, 1);
    KzDbObjectIdArray ids;
    if (call.has(2)) readIds(call, 2, ids);
    auto* const function = exported<Query>(call, name);
    const Headless::ModuleCall guard;
    const std::int32_t result = function(document, &ids);
    return giveIds(call, result, ids);
}

int tableRecordIds(Call& call) {
    using Query = decltype(&kzdxGetBlockRecordIdsOfKzDbTables);
    return tableQuery<Query>(call, "kzdxGetBlockRecordIdsOfKzDbTables");
}

int tableIds(Call& call) {
    return tableQuery<decltype(&kzdxGetKzDbTableIds)>(call, "kzdxGetKzDbTableIds");
}

/// Reads a list of names, without metamethods; nothing given is an empty list.
std::vector<std::u16string> readNames(const Call& call, int index) {
    std::vector<std::u16string> names;
    if (!call.has(index)) return names;
    call.table(index, "a list of names (strings)");
    lua_State* const state = call.state();
    const auto count = static_cast<lua_Integer>(lua_rawlen(state, index));
    for (lua_Integer at = 1; at <= count; ++at) {
        lua_rawgeti(state, index, at);
        names.push_back(call.text(lua_gettop(state), "a name (string)"));
        lua_pop(state, 1);
    }
    return names;
}

void pushNames(lua_State* state, const std::vector<std::u16string>& names) {
    lua_createtable(state, static_cast<int>(names.size()), 0);
    lua_Integer at = 0;
    for (const std::u16string& name : names) {
        pushText(state, name);
        lua_rawseti(state, -2, ++at);
    }
}

int readLegacyTemplate(Call& call) {
    using Names = std::vector<std::u16string>;
    const std::u16string path = call.text(1, "a path (string)");
    Names blocks = readNames(call, 2);
    Names attributes = readNames(call, 3);
    auto* const function = exported<decltype(&kzdxReadLegacyBlkTemplate)>(call, "kzdxReadLegacyBlkTemplate");
    {
        const Headless::ModuleCall guard;
        function(path, blocks, attributes);
    }
    pushNames(call.state(), blocks);
    pushNames(call.state(), attributes);
    return 2;
}

constexpr Function exports[] = {
    {"module.kzdxDocTimerAttach", docTimerAttach, R"(
        Calls the client when the document is idle, at most once per interval. The interval of the latest call
        holds for all clients of the document.
        @param document document? which document
        @param client client? who is called
        @param interval integer milliseconds, modulo 2^32
        @param attach integer 1 attaches, 0 detaches
        @return integer result 1; 0 for nil or a document without a drawing
        @example zelvane.kzdxDocTimerAttach(house, client, 1000, 1)
        )"},
    {"module.kzdxBlockReferenceMonitorAttach", monitorAttach, R"(
        Calls the client once, when the document is idle after edits, when one of the blocks was changed or
        lies, at any depth, inside a block that was.
        @param document document? which document
        @param ids (integer|object)[]? the blocks
        @param client client? who is called
        @return integer result 1; 0 for nil, an empty list or a document without a drawing
        @example zelvane.kzdxBlockReferenceMonitorAttach(house, {door}, client)
        )"},
    {"module.kzdxBlockReferenceMonitorDetach", monitorDetach, R"(
        Takes the client off all blocks of the document.
        @param document document? which document
        @param client client? who is called no more
        @example zelvane.kzdxBlockReferenceMonitorDetach(house, client)
        )"},
    {"module.kzdxUpdateBlockGraph", updateBlockGraph, R"(
        Works edits off now instead of when the document is idle.
        @param document document? which document
        @param force boolean|integer also when nothing was edited
        @param notify boolean|integer calls the clients before it returns
        @return integer result 1 when the document has a block graph, else 0
        @example zelvane.kzdxUpdateBlockGraph(house, false, true)
        )"},
    {"module.kzdxGetBlockRecordIdsOfKzDbTables", tableRecordIds, R"(
        Finds the block records that belong to tables.
        @param document document? which document
        @param ids? (integer|object)[] what the array holds before; it stays in front
        @return integer result 1; 0 for nil or a document without a drawing
        @return integer[] ids what the array holds after it
        @example print(zelvane.kzdxGetBlockRecordIdsOfKzDbTables(house))
        )"},
    {"module.kzdxGetKzDbTableIds", tableIds, R"(
        Finds the tables: the references of the records that belong to tables.
        @param document document? which document
        @param ids? (integer|object)[] what the array holds before; it stays in front
        @return integer result 1; 0 for nil or a document without a drawing
        @return integer[] ids what the array holds after it
        @example print(zelvane.kzdxGetKzDbTableIds(house))
        )"},
    {"module.kzdxReadLegacyBlkTemplate", readLegacyTemplate, R"(
        Reads the names that a legacy template file selects. The lists come back empty when it cannot be read.
        @param path string the file
        @param blocks? string[] what the list of blocks holds before
        @param attributes? string[] what the list of attributes holds before
        @return string[] blocks names of the selected blocks
        @return string[] attributes names of the attributes selected in them
        @example print(zelvane.kzdxReadLegacyBlkTemplate("doors.tpl"))
        )"},
};

// ---- the module as a value: its exports and its path lie in a table that belongs to it

int apiVersion(Call& call) {
    lua_pushinteger(call.state(), KzRx::apiVersion);
    return 1;
}

int path(Call& call) {
    lua_getiuservalue(call.state(), 1, 1);
    lua_getfield(call.state(), -1, "path");
    return 1;
}

constexpr Function fields[] = {
    {"module.apiVersion", apiVersion, R"(
        The version of the interface that it was built for.
        @type integer
        @example print(("0x%x"):format(zelvane.apiVersion))
        )"},
    {"module.path", path, R"(
        The file that it was loaded from.
        @type string
        @example print(zelvane.path)
        )"},
};

int describeModule(lua_State* state) {
    lua_getiuservalue(state, 1, 1);
    lua_getfield(state, -1, "path");
    lua_pushfstring(state, "module \"%s\"", lua_tostring(state, -1));
    return 1;
}

/// A module's exports are closures in a table of the value's own, because each has to know which module it
/// calls.
void pushModule(lua_State* state, ModuleId id, const std::string& path) {
    auto* const value = static_cast<ModuleValue*>(lua_newuserdatauv(state, sizeof(ModuleValue), 1));
    *value = {id};
    luaL_setmetatable(state, moduleChapter.name);
    lua_newtable(state);
    for (const Function& each : exports) {
        lua_pushinteger(state, static_cast<lua_Integer>(id));
        pushFunction(state, each, 1);
        lua_setfield(state, -2, shortName(each));
    }
    lua_pushlstring(state, path.data(), path.size());
    lua_setfield(state, -2, "path");
    lua_setiuservalue(state, -2, 1);
}

/// What the session was started with, which stays as long as the state.
const Setup& setupOf(const Call& call) {
    lua_rawgetp(call.state(), LUA_REGISTRYINDEX, &setupKey);
    const auto* const setup = static_cast<const Setup*>(lua_touserdata(call.state(), -1));
    lua_pop(call.state(), 1);
    return *setup;
}

/// Says why a load failed, so that it is seen also when the script does not look, and pushes what the script
/// gets: what the module answered, or the same words when it was not asked.
int giveFailure(const Call& call, const std::string& path, const Headless::LoadResult& loaded) {
    const std::string message = path + ": " + loaded.failure;
    std::fflush(stdout);
    std::fprintf(stderr, "kzhost: cannot load %s\n", message.c_str());
    lua_State* const state = call.state();
    lua_pushnil(state);
    // 0 says that it was not asked, since a module that answers 0 is loaded.
    if (loaded.answer != KzRx::done) {
        lua_pushinteger(state, loaded.answer);
    } else {
        lua_pushlstring(state, message.data(), message.size());
    }
    return 2;
}

bool isThere(const std::string& path) {
    std::error_code unreadable; // counts as not there
    return std::filesystem::exists(Text::toPath(path), unreadable);
}

/// Where a module lies: a bare file name means the working folder or, when it is not there, the program's.
std::string located(const std::string& path, const Setup& setup) {
    const bool isBare = !Text::toPath(path).has_parent_path();
    return isBare && !isThere(path) ? setup.program + "/" + path : path;
}

int load(Call& call) {
    const Setup& setup = setupOf(call);
    const std::string given = call.has(1) ? call.bytes(1, "a path (string)") : setup.modulePath;
    const std::string path = located(given, setup);
    const std::string resources = call.has(2) ? call.bytes(2, "a folder (string)") : setup.program;
    Headless::LoadResult loaded = Headless::loadModule(path, resources);
    if (loaded.module == ModuleId::none) {
        if (path != given && !isThere(path)) loaded.failure += ", and none in the working folder";
        return giveFailure(call, path, loaded);
    }
    pushModule(call.state(), loaded.module, path);
    return 1;
}

/// One that is not loaded any more answers 0, so it may be unloaded twice.
int unload(Call& call) {
    ModuleId id = Headless::lastModule();
    if (call.has(1)) {
        const auto* const value =
            static_cast<ModuleValue*>(luaL_testudata(call.state(), 1, moduleChapter.name));
        if (value == nullptr) call.expected(1, "a module");
        id = value->id;
    }
    const std::optional<std::int32_t> answer = Headless::unloadModule(id);
    if (!answer.has_value()) call.fail("an object is held open: close it first");
    // Even while its library waits to be closed: it has answered its unload message.
    releaseClients(call.state(), static_cast<lua_Integer>(id));
    return giveResult(call, *answer);
}

constexpr Function functions[] = {
    {"host.load", load, R"(
        Loads an extension module: opens the library, checks that it was built for this version of the
        interface and calls its entry point with message 1. One that does not answer 0 is closed again at
        once. Several can be loaded. When it cannot be loaded, a line on standard error says why.
        @param path? string the library; without it what `--module` says, or else `Zelvane.hmx` beside `kzhost`
            or, when it is not there, in the folder of installed modules. A bare file name means the working
            folder, then the folder of that `Zelvane.hmx`
        @param resources? string the folder in which libraries loaded by bare name are looked for first;
            without it that of `kzhost` or, as for the path, of installed modules
        @return module? module nil when it is not loaded
        @return integer|string? result why it is not loaded: what it answered, or words when it was not asked
        @example local zelvane = assert(host.load())
        )"},
    {"host.unload", unload, R"(
        Calls the module's entry point with message 2 and closes the library. From inside a call into a module
        the library is closed when the last such call has returned. A filter that it left registered is
        dropped before.
        @param module? module which one; without it the one loaded last
        @return integer result what it answered; 0 when it was not loaded
        @error an object is held open; then nothing is unloaded
        @example print(host.unload())
        )"},
};

} // namespace

extern const Chapter loadingChapter = {
    "host", "Modules",
    "Any extension module can be loaded; the exports that are offered are those of `Zelvane.hmx`.",
    functions};
extern const Chapter moduleChapter = {
    "module", "What a module exports",
    "What `host.load` gives. The exports are called with a dot. Documents, records, ids and clients go in as "
    "the "
    "values of this page, nil is a null pointer, results come back as integers.",
    exports, fields};

void registerModules(lua_State* state, const Setup& setup) {
    lua_pushlightuserdata(state, const_cast<Setup*>(&setup));
    lua_rawsetp(state, LUA_REGISTRYINDEX, &setupKey);
    newKind(state, moduleChapter, describeModule);
}

} // namespace KzHost
