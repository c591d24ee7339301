// Loading and unloading of modules, and the exports of Zelvane.hmx.

#include "headless/kzhost/clients.h"
#include "headless/kzhost/libraries.h"
#include "headless/kzhost/values.h"
#include "headless/modules.h"
#include "headless/trace.h"
#include "text/paths.h"
#include "zelvane/zelvane.h"

#include <cstdio>
#include <filesystem>
#include <sstream>

namespace KzHost {

using Headless::ModuleId;

namespace {

/// The content of the Lua value of a module. The value may outlive the module, because ids are not reused.
/// Its user value is a table of the exports and fields.
struct ModuleValue {
    ModuleId id;
};

} // namespace

/// The id of a module, loaded or not.
template <>
struct Argument<ModuleId> {
    static ModuleId read(const Call& call, int index) {
        const auto* const value = static_cast<ModuleValue*>(luaL_testudata(call.state(), index, "module"));
        if (value == nullptr) call.expected(index, "a module");
        return value->id;
    }
};

namespace {

/// A boolean, or an integer where 0 is false.
struct Flag {
    bool isSet;
};

} // namespace

template <>
struct Argument<Flag> {
    static Flag read(const Call& call, int index) {
        if (lua_isinteger(call.state(), index)) return {Argument<lua_Integer>::read(call, index) != 0};
        return {Argument<bool>::read(call, index)};
    }
};

/// A list of ids or objects.
template <>
struct Argument<KzDbObjectIdArray> {
    static KzDbObjectIdArray read(const Call& call, int index) {
        KzDbObjectIdArray ids;
        readList(call, index, "a list of ids or objects", [&](int item) {
            if (const ObjectValue* const object = toObject(call.state(), item, Headless::Kind::none)) {
                ids.append(object->id);
            } else {
                ids.append(KzDbObjectId(static_cast<std::uint64_t>(Argument<lua_Integer>::read(call, item))));
            }
        });
        return ids;
    }
};

/// A list of names; none by default.
template <>
struct Argument<std::vector<std::u16string>> {
    static std::vector<std::u16string> read(const Call& call, int index) {
        std::vector<std::u16string> names;
        if (!call.has(index)) return names;
        readList(call, index, "a list of names",
                 [&](int item) { names.push_back(Argument<std::u16string>::read(call, item)); });
        return names;
    }
};

/// Ids are returned as integers.
static int push(const Call& call, const KzDbObjectIdArray& ids) {
    std::vector<std::uint64_t> numbers;
    numbers.reserve(static_cast<std::size_t>(ids.length()));
    for (const KzDbObjectId id : ids) numbers.push_back(id.value());
    return push(call, numbers);
}

namespace {

// ---- exports. The second upvalue of each function is the id of its module.

ModuleId moduleOf(const Call& call) {
    return ModuleId(static_cast<std::uint32_t>(lua_tointeger(call.state(), lua_upvalueindex(2))));
}

/// Calls the export with the name of the function. `F` is its type in the public header. The guard keeps
/// the library open if a client unloads the module.
template <class F, class... A>
auto callExport(const Call& call, A&&... arguments) {
    const ModuleId module = moduleOf(call);
    if (!Headless::isLoaded(module)) call.fail("the module is no longer loaded");
    auto* const function = reinterpret_cast<F*>(Headless::moduleExport(module, shortName(call.function())));
    if (function == nullptr) call.fail("the module has no such export");
    const Headless::ModuleCall guard;
    return function(std::forward<A>(arguments)...);
}

using ClientOrNull = std::optional<Client>;
using Ids = KzDbObjectIdArray;
using Names = std::vector<std::u16string>;

KzDxClientCallback functionOf(const ClientOrNull& client) {
    return client.has_value() ? client->function() : nullptr;
}

/// Keeps a client before the call and releases it after the call, so that the module never has a client
/// that is not kept.
std::int32_t docTimerAttach(const Call& call, DocumentOrNull document, const ClientOrNull& client,
                            std::uint32_t interval, std::uint32_t attach) {
    const ClientUse use{moduleOf(call), document, ClientUse::Purpose::timer};
    if (client.has_value()) client->keep(use);
    const std::int32_t result = callExport<decltype(kzdxDocTimerAttach)>(
        call, document, functionOf(client), interval, static_cast<std::int32_t>(attach));
    if (client.has_value() && attach == 0) client->release(use);
    return result;
}

std::int32_t monitorAttach(const Call& call, DocumentOrNull document, const std::optional<Ids>& ids,
                           const ClientOrNull& client) {
    if (client.has_value()) client->keep({moduleOf(call), document, ClientUse::Purpose::monitor});
    return callExport<decltype(kzdxBlockReferenceMonitorAttach)>(
        call, document, ids.has_value() ? &*ids : nullptr, functionOf(client));
}

void monitorDetach(const Call& call, DocumentOrNull document, const ClientOrNull& client) {
    callExport<decltype(kzdxBlockReferenceMonitorDetach)>(call, document, functionOf(client));
    if (client.has_value()) client->release({moduleOf(call), document, ClientUse::Purpose::monitor});
}

std::int32_t updateBlockGraph(const Call& call, DocumentOrNull document, Flag force, Flag notify) {
    return callExport<decltype(kzdxUpdateBlockGraph)>(call, document, force.isSet, notify.isSet);
}

/// Both table queries. The array of the script is passed to the export, so that scripts can see that its
/// content is kept.
std::tuple<std::int32_t, Ids> tableQuery(const Call& call, DocumentOrNull document,
                                         const std::optional<Ids>& ids) {
    Ids found = ids.value_or(Ids());
    return {callExport<decltype(kzdxGetKzDbTableIds)>(call, document, &found), found}; // in this order
}

std::tuple<Names, Names> readTemplate(const Call& call, const std::u16string& path, const Names& blocks,
                                      const Names& attributes) {
    std::tuple<Names, Names> lists(blocks, attributes);
    callExport<decltype(kzdxReadLegacyBlkTemplate)>(call, path, std::get<0>(lists), std::get<1>(lists));
    return lists;
}

/// Tables only by their type, because a trace must not run code of the script.
std::string describe(lua_State* state, int index) {
    if (lua_istable(state, index)) return "a table";
    std::string text = luaL_tolstring(state, index, nullptr);
    lua_pop(state, 1);
    return text;
}

/// An argument or result of an export in a trace. Integers stay integers; the items of lists are listed.
Headless::TraceDetail detailOf(lua_State* state, int index, const std::string& name) {
    if (lua_isinteger(state, index) != 0) return {name, std::int64_t{lua_tointeger(state, index)}};
    if (!lua_istable(state, index)) return {name, describe(state, index)};
    const auto count = static_cast<lua_Integer>(lua_rawlen(state, index));
    std::string text = "{";
    for (lua_Integer at = 1; at <= count; ++at) {
        lua_rawgeti(state, index, at);
        text += (at > 1 ? ", " : "") + describe(state, -1);
        lua_pop(state, 1);
    }
    return {name, text + "}"};
}

/// Runs an export and traces its arguments and results.
template <int (*run)(const Call&)>
int traced(const Call& call) {
    lua_State* const state = call.state();
    std::istringstream names(call.function().traced);
    std::string name;
    Headless::TraceScope trace([&] {
        Headless::TraceEvent event{Headless::TraceCategory::moduleCall, shortName(call.function()), ""};
        for (int at = 1; names >> name && name != "->"; ++at) {
            event.details.push_back(detailOf(state, at, name));
        }
        return event;
    });
    const int count = run(call);
    for (int at = -count; at < 0 && names >> name; ++at) {
        trace.gives([&] { return detailOf(state, at, name); });
    }
    return count;
}

constexpr Function exports[] = {
    {"module.kzdxDocTimerAttach", traced<bind<docTimerAttach>>, "document client interval attach -> result"},
    {"module.kzdxBlockReferenceMonitorAttach", traced<bind<monitorAttach>>, "document ids client -> result"},
    {"module.kzdxBlockReferenceMonitorDetach", traced<bind<monitorDetach>>, "document client ->"},
    {"module.kzdxUpdateBlockGraph", traced<bind<updateBlockGraph>>, "document force notify -> result"},
    {"module.kzdxGetBlockRecordIdsOfKzDbTables", traced<bind<tableQuery>>, "document ids -> result ids"},
    {"module.kzdxGetKzDbTableIds", traced<bind<tableQuery>>, "document ids -> result ids"},
    {"module.kzdxReadLegacyBlkTemplate", traced<bind<readTemplate>>,
     "path blocks attributes -> blocks attributes"},
};

// ---- modules as values

int moduleMember(lua_State* state) {
    lua_getiuservalue(state, 1, 1);
    lua_pushvalue(state, 2);
    lua_rawget(state, -2);
    return 1;
}

int describeModule(lua_State* state) {
    lua_getiuservalue(state, 1, 1);
    lua_getfield(state, -1, "path");
    lua_pushfstring(state, "module \"%s\"", lua_tostring(state, -1));
    return 1;
}

void pushModule(lua_State* state, ModuleId id, const std::string& path) {
    *static_cast<ModuleValue*>(lua_newuserdatauv(state, sizeof(ModuleValue), 1)) = {id};
    luaL_setmetatable(state, "module");
    lua_newtable(state);
    for (const Function& each : exports) {
        lua_pushinteger(state, static_cast<lua_Integer>(id));
        pushFunction(state, each, 1);
        lua_setfield(state, -2, shortName(each));
    }
    lua_pushinteger(state, KzRx::apiVersion);
    lua_setfield(state, -2, "apiVersion");
    lua_pushlstring(state, path.data(), path.size());
    lua_setfield(state, -2, "path");
    lua_setiuservalue(state, -2, 1);
}

// ---- loading and unloading

bool exists(const std::string& path) {
    std::error_code unreadable; // counts as missing
    return std::filesystem::exists(Text::toPath(path), unreadable);
}

/// Prints why a load failed, because the script may ignore it, and pushes the results for the script: nil,
/// and what the module returned or, if it was not called, the message.
Pushed loadFailed(lua_State* state, const std::string& message, std::int32_t answer) {
    std::fflush(stdout);
    std::fprintf(stderr, "kzhost: cannot load %s\n", message.c_str());
    lua_pushnil(state);
    if (answer != KzRx::done) {
        lua_pushinteger(state, answer);
    } else {
        lua_pushlstring(state, message.data(), message.size());
    }
    return {2};
}

/// A bare file name is looked up in the working folder, then in the folder of the default module.
Pushed load(const Call& call, const std::optional<std::string>& given,
            const std::optional<std::string>& resources) {
    const auto& setup = *static_cast<const Setup*>(lua_touserdata(call.state(), lua_upvalueindex(2)));
    const std::string name = given.value_or(setup.modulePath);
    const bool isElsewhere = !Text::toPath(name).has_parent_path() && !exists(name);
    const std::string path = isElsewhere ? setup.resources + "/" + name : name;
    const Headless::LoadResult loaded = Headless::loadModule(path, resources.value_or(setup.resources));
    if (loaded.module == ModuleId::none) {
        const char* const hint = isElsewhere && !exists(path) ? " (also not in the working folder)" : "";
        return loadFailed(call.state(), path + ": " + loaded.failure + hint, loaded.answer);
    }
    pushModule(call.state(), loaded.module, path);
    return {1};
}

/// Returns 0 for a module that is no longer loaded, so that a module may be unloaded twice.
std::int32_t unload(const Call& call, std::optional<ModuleId> module) {
    const std::optional<std::int32_t> answer =
        Headless::unloadModule(module.value_or(Headless::lastModule()));
    if (!answer.has_value()) call.fail("an object is held open: close it first");
    return *answer;
}

constexpr Function loadFunction = {"host.load", bind<load>};
constexpr Function functions[] = {{"host.unload", bind<unload>}};

} // namespace

void addModuleLibrary(lua_State* state, const Setup& setup) {
    addFunctions(state, functions);
    lua_pushlightuserdata(state, const_cast<Setup*>(&setup));
    pushFunction(state, loadFunction, 1);
    lua_setfield(state, -2, "load");
    registerKind(state, "module", {}, describeModule);
    lua_pushcfunction(state, moduleMember);
    lua_setfield(state, -2, "__index");
    lua_pop(state, 1);
}

} // namespace KzHost
