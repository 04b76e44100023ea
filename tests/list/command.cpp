#include "list/command.h"

#include <algorithm>
#include <utility>

namespace list {

static std::string json(std::string single_quoted)
{
    std::replace(single_quoted.begin(), single_quoted.end(), '\'', '"');
    return single_quoted;
}

static std::string object(const std::string& command, const std::string& members)
{
    return "{\"command\":\"" + command + "\"" + (members.empty() ? "" : ",") + members + "}";
}

std::string as_text(const char* text)
{
    return std::string(text) + '\0';
}

// --- members

Member::Member(const char* name, const char* good_value, std::string bytes)
    : key(name), value(json(good_value)), writes{{0, 0, std::move(bytes)}}
{
}

static std::vector<std::string> values_of_wrong_type(const Member& member)
{
    if (member.value[0] == '[') return {"{}", "6", "null"};
    if (member.value[0] == '"') return {"5", "null", "[]"};
    if (member.wrong_type == 0) return {"\"7\"", "[7]"};
    return {"\"7\"", "true", "null"};
}

// --- rows

static Command row(Called call, Text command, Text members, int answer, const Options& options)
{
    Command row(std::move(call), options);
    row.request = command ? object(command, json(members)) : json("{" + std::string(members) + "}");
    row.blocking_request =
        options.blocking_command ? object(options.blocking_command, json(options.blocking)) : row.request;
    row.answer = answer;
    if (row.reply.empty()) row.reply = command;
    return row;
}

Command set(Called call, Text command, Text members, int answer, Text status_key, Options options)
{
    Command result = row(std::move(call), command, members, answer, options);
    result.status_key = status_key;
    return result;
}

Command set(Called call, Text command, Text members, int answer, Options options)
{
    const std::string all = members, key = all.substr(1, all.find('\'', 1) - 1);
    return set(std::move(call), command, members, answer, key.c_str(), options);
}

Command set(Called call, Text command, int answer, Text status_key, Options options)
{
    return set(std::move(call), command, "", answer, status_key, options);
}

Command parameter(Called call, Text command, Text members, int answer, Entry entry)
{
    return set(std::move(call), command, members, answer, {.other_type = 8, .entry = entry});
}

Command get(Called call, Text command, Text members, int answer, std::vector<Member> read, Options options)
{
    Command result = row(std::move(call), command, members, answer, options);
    result.members = std::move(read);
    for (size_t i = 0; i < result.members.size(); ++i)
        if (!result.members[i].is_placed) result.members[i].writes[0].output = i;
    return result;
}

Command get(Called call, Text command, int answer, std::vector<Member> read, Options options)
{
    return get(std::move(call), command, "", answer, std::move(read), options);
}

Command planned(Called call, Text command, Text members)
{
    return set(std::move(call), command, members, 64, "trajectory_state",
               {.reply = "current_trajectory_state"});
}

Command move(Called call, Text command, Text members, Options options)
{
    Command result = planned(std::move(call), command, members);
    result.ending = Ending::motion;
    result.model = options.model;
    return result;
}

Command push(Called call, Text command, Text members, int answer, Text reply, Options options)
{
    options.reply = reply;
    options.entry = Entry::direct;
    Command result = row(std::move(call), command, members, answer, options);
    result.ending = Ending::push;
    return result;
}

Command tell(Called call, Text command, Text members, Options options)
{
    Command result = row(std::move(call), command, members, 0, options);
    result.ending = Ending::nothing;
    return result;
}

Command&& Command::also(const char* other_members, int status, std::vector<Write> written, On connection) &&
{
    extra.push_back({object(reply, json(other_members)), status, std::move(written), connection});
    return std::move(*this);
}

Command&& Command::starting_with(size_t output, std::string bytes) &&
{
    before.push_back({output, 0, std::move(bytes)});
    return std::move(*this);
}

std::vector<Family> all_families()
{
    std::vector<Family> families = arm_families();
    for (Family& family : peripheral_families())
        families.push_back(std::move(family));
    return families;
}

std::vector<Command> all_commands()
{
    std::vector<Command> commands;
    for (const Family& family : all_families())
        commands.insert(commands.end(), family.commands.begin(), family.commands.end());
    return commands;
}

// --- replies

// A reply with all members but that one, which has another value, or none.
std::string Command::with_members(size_t but, const std::string& value) const
{
    std::string text;
    for (size_t i = 0; i < members.size(); ++i) {
        const std::string& shown = i == but ? value : members[i].value;
        if (!shown.empty()) text += (text.empty() ? "\"" : ",\"") + members[i].key + "\":" + shown;
    }
    return object(reply, inside.empty() ? text : "\"" + inside + "\":{" + text + "}");
}

std::vector<Write> Command::written_before(size_t index) const
{
    std::vector<Write> written;
    for (size_t i = 0; i < index; ++i)
        written.insert(written.end(), members[i].writes.begin(), members[i].writes.end());
    return written;
}

std::string Command::good_reply() const
{
    if (!status_key.empty()) return object(reply, "\"" + status_key + "\":true");
    return with_members(members.size(), "");
}

std::vector<Case> Command::cases() const
{
    std::vector<Case> cases = extra;
    const size_t all = members.size();
    const auto add = [&](std::string text, int status, std::vector<Write> written = {},
                         On connection = On::both) {
        cases.push_back({std::move(text), status, std::move(written), connection});
    };
    const auto with = [&](const std::string& key, const char* value) {
        return object(reply, "\"" + key + "\":" + value);
    };
    const std::string nothing = object(reply, "");
    const std::string no_json = reply + " {,"; // which a link drops

    if (ending == Ending::push) { // whatever it is answered
        add(nothing, 0);
        add(with("set_state", "false"), 0);
        add(no_json, 0, {}, On::classic);
        return cases;
    }
    if (!status_key.empty()) {
        add(with(status_key, "true"), 0);
        add(with(status_key, "false"), 1);
        for (const char* other : {"1", "null", "\"true\""})
            add(with(status_key, other), other_type);
        add(nothing, 9);
        add(no_json, 9, {}, On::classic);
        return cases;
    }
    if (all == 0) return cases; // no reply is taken for its own

    add(good_reply(), 0, written_before(all));
    add(no_json, 9, {}, On::classic);
    if (!inside.empty()) {
        add(nothing, 9);
        add(with(inside, "[]"), 11);
    }
    for (size_t i = 0; i < all; ++i) {
        const Member& member = members[i];
        add(with_members(i, ""), member.missing, written_before(i));
        for (const std::string& value : values_of_wrong_type(member)) {
            add(with_members(i, value), member.wrong_type, written_before(i));
            if (member.wrong_type == 0) // taken for 0
                cases.back().written.push_back({0, 0, std::string(member.writes[0].bytes.size(), '\0')});
        }
        if (member.value[0] != '[') continue;
        if (member.most != 0) {
            const std::string item = member.value.substr(1, member.value.find(',') - 1);
            std::string longer = "[" + item;
            for (size_t more = 0; more < member.most; ++more)
                longer += "," + item;
            add(with_members(i, longer + "]"), 11, written_before(i), On::link);
        }

        const std::string shorter = member.value.substr(0, member.value.rfind(',')) + "]";
        add(with_members(i, shorter), member.too_short, written_before(member.too_short == 0 ? all : i));
        if (member.too_short == 0) { // the last item is not written
            const auto items = static_cast<size_t>(std::count(shorter.begin(), shorter.end(), ',')) + 1;
            std::string& bytes = cases.back().written[written_before(i).size()].bytes;
            bytes.resize(bytes.size() / (items + 1) * items);
        } else
            add(with_members(i, member.value.substr(0, member.value.size() - 1) + ",5]"), member.too_long,
                written_before(member.too_long == 0 ? all : i));
    }
    return cases;
}

} // namespace list
