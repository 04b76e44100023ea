// The vocabulary of the one list of commands. A row says how a command is called, what it puts on the wire,
// which kind of reply completes it (by its key code) and what it makes of that reply:
//
//     set(COMMAND(Set_Payload, 7, 0.01f, 0, 1), "set_payload", "'payload':7,'position':[10,0,1000]", 42,
//     "set_state") get(COMMAND(Get_Arm_Plan_Num), "get_arm_plan_num", 60, {{"plan_num", "3.9",
//     as<int>({3})}})
//
// All that is true of every command follows from its row: cases() derives each reply that is faulty in one
// member, with the status that it brings and with what was written before the fault. JSON stands here with
// single quotes.
#pragma once

#include "kx_base.h"
#include "kx_service.h"

#include <array>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace list {

// Room for what a command writes, by its outputs in order.
struct alignas(16) Output {
    std::array<unsigned char, 512> bytes;
};
using Outputs = std::array<Output, 6>;

// The bytes of values as they stand in an output.
template <class Number>
std::string as(std::initializer_list<Number> values)
{
    return {reinterpret_cast<const char*>(values.begin()), values.size() * sizeof(Number)};
}
std::string as_text(const char* text); // with its end

struct Write {
    size_t output, offset;
    std::string bytes;
};

// A member of a reply: a good value, as what it is written and where (into the output of its own position, if
// nothing else is said), and the status of each way to be faulty.
struct Member {
    Member(const char* name, const char* good_value, std::string bytes = {});

    Member&& into(size_t output, size_t offset = 0) &&
    {
        writes[0].output = output, writes[0].offset = offset, is_placed = true;
        return std::move(*this);
    }
    Member&& and_into(size_t output, std::string bytes) &&
    {
        writes.push_back({output, 0, std::move(bytes)});
        return std::move(*this);
    }
    Member&& faults(int of_type, int of_length) &&
    {
        return wrong_type = of_type, std::move(*this).fixed_length(of_length, of_length);
    }
    Member&& fixed_length(int if_too_short = 11, int if_too_long = 11) && // else an array may have any,
    {
        return too_short = if_too_short, too_long = if_too_long, std::move(*this);
    }
    Member&& at_most(size_t items) && { return most = items, std::move(*this); } // on a link so many
    Member&& if_missing(int status) && { return missing = status, std::move(*this); }
    Member&& of_any_type() && { return wrong_type = 0, std::move(*this); } // what is no number is 0

    std::string key, value;
    std::vector<Write> writes;
    bool is_placed = false;
    int missing = 9, wrong_type = 11, too_short = 0, too_long = 0;
    size_t most = 0;
};

// What a case or a row is true of.
enum class On { both, classic, link };

struct Case {
    std::string reply; // without the line feed
    int status;
    std::vector<Write> written;
    On on = On::both;
};

// What an entry does before it sends.
enum class Entry { sleeping, direct, guarded, guarded_direct };

// How a command comes by its end.
enum class Ending {
    reply,   // is answered
    motion,  // is answered at the end of a motion, for which it waits as long as the controller lives
    push,    // its blocking form is answered, the other registers for a push
    nothing, // nobody awaits an answer
};

using Call = std::function<int(int handle, bool block, Outputs& outputs)>;

struct Called {
    std::string name, arguments;
    Call function, method; // a method is missing where the class has none, or one of another effect
    bool has_block_flag, has_outputs;
};

struct Options {
    std::string reply = {};                 // the reply's name, where it is not the command's
    int other_type = 11;                    // the status of a reply that says neither true nor false
    std::string inside = {};                // the object that holds the members
    const char* blocking_command = nullptr; // what the blocking form sends, where it differs
    const char* blocking = "";
    int model = 46;
    Entry entry = Entry::sleeping; // on a classic connection; on a link none sleeps or looks first
    On on = On::both;
};

struct Command : Called, Options {
    Command(Called call, Options options) : Called(std::move(call)), Options(std::move(options)) {}

    std::string request, blocking_request, status_key;
    int answer = 0;
    Ending ending = Ending::reply;
    std::vector<Member> members;
    std::vector<Write> before; // what stands in the outputs before the call
    std::vector<Case> extra;

    Command&& also(const char* members, int status, std::vector<Write> written = {}, On on = On::both) &&;
    Command&& starting_with(size_t output, std::string bytes) &&;

    bool sleeps() const { return entry == Entry::sleeping || entry == Entry::guarded; }
    bool is_guarded() const { return entry == Entry::guarded || entry == Entry::guarded_direct; }
    std::string good_reply() const;
    std::vector<Case> cases() const;

  private:
    std::string with_members(size_t but, const std::string& value) const;
    std::vector<Write> written_before(size_t index) const;
};

// The kinds of rows. `members` are the request's behind "command"; without a command there is no such member.
using Text = const char*;
Command set(Called call, Text command, Text members, int answer, Text status_key, Options = {});
Command set(Called call, Text command, Text members, int answer,
            Options = {}); // status under the first member's key
Command set(Called call, Text command, int answer, Text status_key, Options = {});
Command parameter(Called call, Text command, Text members, int answer, Entry = Entry::sleeping);
Command get(Called call, Text command, Text members, int answer, std::vector<Member> read, Options = {});
Command get(Called call, Text command, int answer, std::vector<Member> read, Options = {});
Command move(Called call, Text command, Text members, Options = {});
Command planned(Called call, Text command,
                Text members = ""); // answered at the end of a motion, not waited for longer
Command push(Called call, Text command, Text members, int answer, Text reply, Options = {});
Command tell(Called call, Text command, Text members = "", Options = {});

struct Family {
    const char* title;
    std::vector<Command> commands;
};
std::vector<Family> arm_families(), peripheral_families(), all_families();
std::vector<Command> all_commands();

// --- binding a row's arguments to its function and its method

template <size_t index, class Parameter, class... Given>
Parameter argument(const std::tuple<Given...>& given, bool block, Outputs& outputs)
{
    if constexpr (index < sizeof...(Given))
        return static_cast<Parameter>(std::get<index>(given));
    else if constexpr (std::is_pointer_v<Parameter>)
        return reinterpret_cast<Parameter>(outputs[index - sizeof...(Given)].bytes.data());
    else
        return block;
}

template <class... Parameters, class Target, class... Given>
Call bound(Target target, Given... given)
{
    return [=](int handle, bool block, Outputs& outputs) {
        return [&]<size_t... index>(std::index_sequence<index...>)
        {
            return target(handle, argument<index, Parameters>(std::tuple(given...), block, outputs)...);
        }
        (std::index_sequence_for<Parameters...>());
    };
}

template <class... Parameters, class... Given>
Called called(const char* name, const char* arguments, int (*function)(int, Parameters...),
              std::type_identity_t<int (KX_Service::*)(int, Parameters...)> method, Given... given)
{
    constexpr bool is_pointer[] = {true, std::is_pointer_v<Parameters>...};
    constexpr bool takes_more = sizeof...(Given) < sizeof...(Parameters);
    constexpr bool is_last_a_pointer = is_pointer[sizeof...(Parameters)];
    const auto call_method = [=](auto... all) { return (KX_Service().*method)(all...); };
    return {name,
            arguments,
            bound<Parameters...>(function, given...),
            method ? bound<Parameters...>(call_method, given...) : nullptr,
            takes_more && !is_last_a_pointer,
            takes_more && is_last_a_pointer};
}

// A command and its arguments up to block flag or outputs: as function and method of that name, or as
// function alone.
#define COMMAND(name, ...)                                                                                   \
    list::called(#name, #__VA_ARGS__, name, &KX_Service::Service_##name __VA_OPT__(, ) __VA_ARGS__)
#define FUNCTION(name, ...) list::called(#name, #__VA_ARGS__, name, nullptr __VA_OPT__(, ) __VA_ARGS__)

} // namespace list
