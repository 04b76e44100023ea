// Every row of the list of commands, against a scripted controller: what goes out and when, what each reply
// brings, what comes of silence and of a dead connection, and that the class's method does the same.
#include "list/command.h"
#include "support/peer.h"
#include "support/sleeps.h"

#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace list;

static constexpr unsigned char unwritten = 0xA5;
static constexpr int patience = 10000; // in milliseconds, where a reply is certain

// A socket that is not connected, so that every send on it fails.
struct DeadSocket {
    int sockfd = socket(AF_INET, SOCK_STREAM, 0);
    ~DeadSocket() { close(sockfd); }
};

class Commands : public testing::TestWithParam<Command> {
  protected:
    const Command& row = GetParam();
    Arm arm{row.model};
    DeadSocket dead;
    Outputs outputs;
    std::vector<unsigned int> sleeps; // of the last call

    ~Commands() override { m_nSockeRIinfosLen = 0; } // what pushes leave behind

    int call(const Call& call, int handle, bool block)
    {
        for (Output& output : outputs)
            output.bytes.fill(unwritten);
        write(outputs, row.before);
        slept();
        const int status = call(handle, block, outputs);
        sleeps = slept();
        return status;
    }

    static void write(Outputs& to, const std::vector<Write>& writes)
    {
        for (const Write& written : writes)
            std::copy(written.bytes.begin(), written.bytes.end(),
                      to[written.output].bytes.begin() + written.offset);
    }

    void expect_written(const std::vector<Write>& writes, const std::string& reply)
    {
        Outputs expected;
        for (Output& output : expected)
            output.bytes.fill(unwritten);
        write(expected, row.before);
        write(expected, writes);
        for (size_t i = 0; i < outputs.size(); ++i)
            EXPECT_EQ(outputs[i].bytes, expected[i].bytes) << "output " << i << " after " << reply;
    }

    void expect_nothing_left()
    {
        EXPECT_EQ(m_nSockeRIinfosLen, 0) << "a pending entry was left behind";
        EXPECT_EQ(SuspendQueue, 0);
    }

    // Most entries wait before they send, and then only for the reply.
    void expect_entry_sleep(unsigned int poll)
    {
        const std::vector<unsigned int> entry(row.sleeps(), 20);
        ASSERT_GE(sleeps.size(), entry.size());
        EXPECT_TRUE(std::equal(entry.begin(), entry.end(), sleeps.begin()));
        EXPECT_TRUE(std::all_of(sleeps.begin() + row.sleeps(), sleeps.end(),
                                [&](unsigned int ms) { return ms == poll; }));
    }

    // A form that waits for nothing, over function or method.
    void go_out(const Call& command)
    {
        EXPECT_EQ(call(command, arm.sockfd, false), 0);
        EXPECT_EQ(sleeps, std::vector<unsigned int>(row.sleeps(), 20));
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.request));
        EXPECT_EQ(SuspendQueue, 0);
    }

    void exchange(const Call& command, const Case& expected)
    {
        int key = 0;
        arm.peer.answer(expected.reply + "\n", [&] { key = SockeRIinfos[0].key; });
        EXPECT_EQ(call(command, arm.sockfd, true), expected.status) << expected.reply;
        expect_entry_sleep(10);
        expect_written(expected.written, expected.reply);
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.blocking_request));
        EXPECT_EQ(key, row.answer);
        EXPECT_EQ(Get_Json_KeyCode(expected.reply.c_str()), row.answer) << expected.reply;
        expect_nothing_left();
    }

    // The reply comes while the wait looks for the second time whether the controller lives.
    void exchange_while_moving(const Case& expected)
    {
        const std::string alive =
            R"({"command":"current_arm_state","arm_state":{"pose":[0,0,0,0,0,0],"joint":[0,0,0,0,0,0)" +
            std::string(row.model == 47 ? ",0" : "") +
            R"(],"arm_err":0,"sys_err":0}})"
            "\n";
        arm.peer.answer("");
        arm.peer.answer(alive);
        std::thread controller([&] {
            EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.blocking_request));
            for (int i = 0; i < 2; ++i)
                EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"get_current_arm_state"})"));
            arm.peer.send(expected.reply + "\n");
            EXPECT_TRUE(
                eventually([] { return SockeRIinfos[0].received == 1; })); // two lines together would be one
            arm.peer.send(alive);
        });
        EXPECT_EQ(call(row.function, arm.sockfd, true), expected.status) << expected.reply;
        controller.join();
        EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 1000u), 2) << "it looks once a second";
        expect_nothing_left();
    }

    void expect_silence_and_dead_connections()
    {
        const char* const other_kind = row.answer == 42 ? "timer" : "set_payload";
        arm.peer.answer("{\"command\":\"" + std::string(other_kind) + "\",\"set_state\":true}\n");
        m_nOutTime = 20;
        EXPECT_EQ(call(row.function, arm.sockfd, true), 7);
        expect_written({}, "silence");
        expect_nothing_left();
        EXPECT_EQ(call(row.function, dead.sockfd, true), 6);
        expect_nothing_left();
    }
};

TEST_P(Commands, SendAwaitAndDecode)
{
    m_nOutTime = patience;
    switch (row.ending) {
    case Ending::nothing:
        go_out(row.function);
        if (row.method) go_out(row.method);
        ASSERT_EQ(Movep_CANFD(arm.sockfd, {}), 0); // leaves an entry that is nobody else's business
        EXPECT_EQ(call(row.function, dead.sockfd, false), 6);
        EXPECT_EQ(m_nSockeRIinfosLen, 1);
        EXPECT_EQ(call(row.function, 0, false), row.is_guarded() ? 5 : 6);
        return;

    case Ending::push:
        go_out(row.function);
        go_out(row.method);
        ASSERT_EQ(m_nSockeRIinfosLen, 2);
        EXPECT_EQ(SockeRIinfos[1].descriptor, arm.sockfd);
        EXPECT_EQ(SockeRIinfos[1].key, row.answer);
        EXPECT_EQ(SockeRIinfos[1].waiting, 0);
        EXPECT_EQ(call(row.function, dead.sockfd, false), 6);
        EXPECT_EQ(m_nSockeRIinfosLen, 2);
        if (!row.has_block_flag) return;
        ClearList(SockeRIinfos, &m_nSockeRIinfosLen, 1);
        ClearList(SockeRIinfos, &m_nSockeRIinfosLen, 0);
        break;

    default:
        if (!row.has_block_flag) break;
        go_out(row.function);
        if (row.method) go_out(row.method);
        expect_nothing_left();
        EXPECT_EQ(call(row.function, 0, false), row.is_guarded() ? 5 : 0);
    }

    const std::vector<Case> cases = row.cases();
    for (const Case& expected : cases) {
        if (row.ending == Ending::motion)
            exchange_while_moving(expected);
        else
            exchange(row.function, expected);
        if (HasFailure()) return;
    }
    if (row.method && row.ending != Ending::motion && !cases.empty()) exchange(row.method, cases.front());
    expect_silence_and_dead_connections();
}

static std::vector<Command> rows()
{
    std::vector<Command> rows;
    for (const Family& family : all_families())
        for (const Command& row : family.commands) {
            rows.push_back(row);
            const auto same = std::count_if(rows.begin(), rows.end(), [&](const Command& other) {
                return other.name.substr(0, other.name.find("_row_")) == row.name;
            });
            if (same > 1) rows.back().name += "_row_" + std::to_string(same);
        }
    return rows;
}

namespace list {
void PrintTo(const Command& row, std::ostream* out)
{
    *out << row.name << "(" << row.arguments << ")";
}
} // namespace list

INSTANTIATE_TEST_SUITE_P(Classic, Commands, testing::ValuesIn(rows()),
                         [](const testing::TestParamInfo<Command>& row) { return row.param.name; });
