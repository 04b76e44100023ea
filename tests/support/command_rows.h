// Tables of commands: a row says what a call puts on the wire, which reply completes it and what comes back.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

enum class Entry { direct, sleeping, guarded, sleeping_guarded };

// A command with a block flag whose reply is a status.
struct Setter {
    std::string name;
    std::function<int(int sockfd, bool block)> call;
    std::string request;    // what both forms send
    std::string reply_name; // the text by which its reply is recognised
    std::string status_key; // where the reply says true or false
    int other_type = 11;    // status of a reply that says neither
    Entry entry = Entry::sleeping;
    int model = 46;
    std::string blocking_request = {}; // what the blocking form sends, where it differs
};

struct ReplyCase {
    std::string reply;          // without the line feed
    int status;                 // what the call returns for it
    std::vector<double> values; // the outputs afterwards
};

// A command that always blocks and decodes values.
struct Getter {
    std::string name;
    // Calls the command with outputs that were all set to -1, and gives status and outputs.
    std::function<int(int sockfd, std::vector<double>& values)> call;
    std::string request;
    std::string reply_name;
    std::vector<ReplyCase> cases; // beside those that hold for all: no JSON, and an object without the member
    int model = 46;
    int missing = 9; // status of a reply without the member
    bool sleeps = true;
};

// Whole life of a command against a scripted controller: both forms, all replies, no reply, no connection.
void check(const Setter& row);
void check(const Getter& row);

// For commands that fit into neither table.
void expect_delay(bool sleeps, const std::function<void()>& call);
void expect_idle(); // no pending entry, no suspended queue

// The call of a command with these arguments between descriptor and block flag.
template <class Command, class... Arguments>
auto with(Command command, Arguments... arguments)
{
    return [=](int fd, bool block) { return command(fd, arguments..., block); };
}

// Fills an array with -1, calls, and gives what the array holds then.
template <class Number, size_t count, class Call>
int filled(std::vector<double>& values, Call call)
{
    Number out[count];
    for (Number& number : out)
        number = static_cast<Number>(-1);
    const int status = call(out);
    values.assign(out, out + count);
    return status;
}

inline void PrintTo(const Setter& row, std::ostream* out)
{
    *out << row.name;
}
inline void PrintTo(const Getter& row, std::ostream* out)
{
    *out << row.name;
}

struct RowName {
    template <class Row>
    std::string operator()(const testing::TestParamInfo<Row>& info) const
    {
        return info.param.name;
    }
};

class Setters : public testing::TestWithParam<Setter> {};
class Getters : public testing::TestWithParam<Getter> {};
