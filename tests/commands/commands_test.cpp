// Every row of the list of commands, on both kinds of connection, against a scripted controller: what goes out and when, what each reply
// brings, what comes of silence and of a dead connection, and that the class's method does the same.
#include "list/command.h"
#include "support/peer.h"
#include "support/sleeps.h"

#include "runtime/classic/pending.h"
#include "runtime/classic/state.h"
#include "runtime/classic/writer.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>

using namespace list;

static constexpr unsigned char unwritten = 0xA5;
static constexpr int patience = 10000; // in milliseconds, where a reply is certain

class Commands : public testing::TestWithParam<std::tuple<const ConnectionKind*, Command>> {
  protected:
    const ConnectionKind& kind = *std::get<0>(GetParam());
    const Command& row = std::get<1>(GetParam());
    const int not_connected = kind.is_classic ? socket(AF_INET, SOCK_STREAM, 0) : closed_link();
    Arm arm{row.model, kind};
    Outputs outputs;
    std::vector<unsigned int> sleeps; // of the last call

    static int closed_link()
    {
        const Arm closed(46, link_kind);
        return closed.sockfd;
    }

    int call(const Call& call, int handle, bool block)
    {
        outputs = holding({});
        slept();
        const int status = call(handle, block, outputs);
        sleeps = slept();
        return status;
    }

    // Whether something of one kind of connection is true here.
    bool is_here(On on) const { return on == On::both || (on == On::classic) == kind.is_classic; }

    // What a command that cannot go out returns: where its descriptor is looked at first, and elsewhere.
    int refusal(int classic_status) const { return kind.is_classic ? classic_status : 5; }

    std::vector<unsigned int> entry_sleep() const
    {
        return std::vector<unsigned int>(kind.is_classic && row.sleeps(), 20); // most wait before they send
    }

    // What stands in the outputs before the call, and what is written.
    Outputs holding(const std::vector<Write>& writes) const
    {
        Outputs all;
        for (Output& output : all)
            output.bytes.fill(unwritten);
        for (const auto* step : {&row.before, &writes})
            for (const auto& [output, offset, bytes] : *step)
                std::copy(bytes.begin(), bytes.end(), all[output].bytes.begin() + offset);
        return all;
    }

    void expect_written(const std::vector<Write>& writes, const std::string& reply)
    {
        const Outputs expected = holding(writes);
        for (size_t i = 0; i < outputs.size(); ++i)
            EXPECT_EQ(outputs[i].bytes, expected[i].bytes) << "output " << i << " after " << reply;
    }

    void expect_nothing_left()
    {
        EXPECT_EQ(m_nSockeRIinfosLen, 0) << "a pending entry was left behind";
        EXPECT_EQ(SuspendQueue, 0);
    }

    // A form that waits for nothing, over function or method. On a link its answer has a place, too.
    void go_out(const Call& command)
    {
        if (!kind.is_classic) arm.peer.answer(row.ending == Ending::push ? "" : row.good_reply());
        EXPECT_EQ(call(command, arm.sockfd, false), 0);
        EXPECT_EQ(sleeps, entry_sleep());
        EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.request));
        EXPECT_EQ(SuspendQueue, 0);
    }

    void exchange(const Call& command, const Case& expected)
    {
        int key = row.answer;
        arm.peer.answer(expected.reply, [&] {
            if (kind.is_classic) key = SockeRIinfos[0].key;
        });
        EXPECT_EQ(call(command, arm.sockfd, true), expected.status) << expected.reply;
        const std::vector<unsigned int> entry = entry_sleep();
        ASSERT_GE(sleeps.size(), entry.size());
        EXPECT_TRUE(std::equal(entry.begin(), entry.end(), sleeps.begin()));
        const std::vector<unsigned int> polls(sleeps.begin() + static_cast<long>(entry.size()), sleeps.end());
        EXPECT_EQ(std::count(polls.begin(), polls.end(), 10u), static_cast<long>(polls.size()));
        EXPECT_EQ(polls.empty(), !kind.is_classic);
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
            std::string(row.model == 47 ? ",0" : "") + R"(],"arm_err":0,"sys_err":0}})";
        arm.peer.answer("");
        arm.peer.answer(alive);
        std::thread controller([&] {
            EXPECT_EQ(arm.peer.next_request(), on_the_wire(row.blocking_request));
            for (int i = 0; i < 2; ++i)
                EXPECT_EQ(arm.peer.next_request(), on_the_wire(R"({"command":"get_current_arm_state"})"));
            arm.peer.say(expected.reply);
            EXPECT_TRUE(
                eventually([] { return SockeRIinfos[0].received == 1; })); // two lines together would be one
            arm.peer.say(alive);
        });
        EXPECT_EQ(call(row.function, arm.sockfd, true), expected.status) << expected.reply;
        controller.join();
        EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 1000u), 2) << "it looks once a second";
        expect_nothing_left();
    }

    void expect_silence_and_dead_connections()
    {
        const char* const other_kind = row.answer == 42 ? "timer" : "set_payload";
        arm.peer.answer("{\"command\":\"" + std::string(other_kind) + "\",\"set_state\":true}");
        kind.wait_at_most(20);
        EXPECT_EQ(call(row.function, arm.sockfd, true), 7);
        expect_written({}, "silence");
        expect_nothing_left();
        EXPECT_EQ(call(row.function, not_connected, true), refusal(6));
        expect_nothing_left();
    }

    void expect_registered_pushes(int count)
    {
        ASSERT_EQ(m_nSockeRIinfosLen, count);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(SockeRIinfos[i].descriptor, arm.sockfd);
            EXPECT_EQ(SockeRIinfos[i].key, row.answer);
            EXPECT_EQ(SockeRIinfos[i].waiting, 0);
        }
    }

    ~Commands() override
    {
        m_nSockeRIinfosLen = 0; // what pushes leave behind
        if (kind.is_classic) close(not_connected);
    }
};

TEST_P(Commands, SendAwaitAndDecode)
{
    kind.wait_at_most(patience);
    if (row.ending != Ending::reply || row.has_block_flag) {
        go_out(row.function);
        if (row.method) go_out(row.method);
    }
    if (row.ending == Ending::push) {
        if (kind.is_classic) expect_registered_pushes(2);
        EXPECT_EQ(call(row.function, not_connected, false), refusal(6));
        if (kind.is_classic) expect_registered_pushes(2);
        if (!row.has_block_flag) return;
        while (m_nSockeRIinfosLen > 0)
            ClearList(SockeRIinfos, &m_nSockeRIinfosLen, 0);
    } else if (row.ending == Ending::nothing) {
        if (kind.is_classic) Movep_CANFD(arm.sockfd, {}); // leaves an entry that is nobody else's business
        const int entries = m_nSockeRIinfosLen;
        EXPECT_EQ(call(row.function, not_connected, false), refusal(6));
        EXPECT_EQ(m_nSockeRIinfosLen, entries);
        EXPECT_EQ(call(row.function, 0, false), row.is_guarded() ? 5 : 6);
        EXPECT_EQ(sleeps.size(), row.sleeps()) << "as 0 is no link";
        return;
    } else if (row.has_block_flag) {
        expect_nothing_left();
        EXPECT_EQ(call(row.function, 0, false), row.is_guarded() ? 5 : 0);
    }

    std::vector<Case> cases = row.cases();
    std::erase_if(cases, [&](const Case& unfit) { return !is_here(unfit.on); });
    for (const Case& expected : cases) {
        if (row.ending == Ending::motion && kind.is_classic)
            exchange_while_moving(expected);
        else
            exchange(row.function, expected);
        if (HasFailure()) return;
    }
    if (row.method && row.ending != Ending::motion && !cases.empty()) exchange(row.method, cases.front());
    expect_silence_and_dead_connections();
}

static std::vector<Command> rows(On not_here)
{
    std::vector<Command> rows = all_commands();
    std::erase_if(rows, [=](const Command& row) { return row.on == not_here; });
    std::map<std::string, int> times;
    for (Command& row : rows)
        if (const int same = ++times[row.name]; same > 1) row.name += "_row_" + std::to_string(same);
    return rows;
}

namespace list {
void PrintTo(const Command& row, std::ostream* out)
{
    *out << row.name << "(" << row.arguments << ")";
}
} // namespace list

static const auto row_name = [](const auto& test) { return std::get<1>(test.param).name; };
INSTANTIATE_TEST_SUITE_P(Classic, Commands,
                         testing::Combine(testing::Values(&classic), testing::ValuesIn(rows(On::link))),
                         row_name);
INSTANTIATE_TEST_SUITE_P(Link, Commands,
                         testing::Combine(testing::Values(&link_kind), testing::ValuesIn(rows(On::classic))),
                         row_name);
