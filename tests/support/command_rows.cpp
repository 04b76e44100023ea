#include "command_rows.h"
#include "peer.h"

#include "kx_base.h"
#include "runtime/pending.h"
#include "runtime/transmit.h"

#include <algorithm>
#include <sys/socket.h>
#include <unistd.h>

// A socket that is not connected, so that every send on it fails.
struct DeadSocket {
    int sockfd = socket(AF_INET, SOCK_STREAM, 0);
    ~DeadSocket() { close(sockfd); }
};

// The shortest of five calls tells whether the command itself waits 20 ms before it sends.
void expect_delay(bool sleeps, const std::function<void()>& call)
{
    unsigned int shortest = ~0u;
    for (int i = 0; i < 5; ++i) {
        const unsigned int start = Get_Program_Runtime();
        call();
        shortest = std::min(shortest, Get_Program_Runtime() - start);
    }
    if (sleeps)
        EXPECT_GE(shortest, 20u);
    else
        EXPECT_LT(shortest, 20u);
}

void expect_idle()
{
    EXPECT_EQ(m_nSockeRIinfosLen, 0) << "a pending entry was left behind";
    EXPECT_EQ(SuspendQueue, 0);
}

void check(const Setter& row)
{
    Arm arm(row.model);
    const std::string request = on_the_wire(row.request);
    const std::string blocking = row.blocking_request.empty() ? request : on_the_wire(row.blocking_request);

    EXPECT_EQ(row.call(arm.sockfd, false), 0) << "non-blocking";
    EXPECT_EQ(arm.peer.next_request(), request) << "non-blocking";
    expect_idle();

    const std::string named = "{\"command\":\"" + row.reply_name + "\"";
    const std::string status = named + ",\"" + row.status_key + "\":";
    const std::pair<std::string, int> replies[] = {
        {status + "true}", 0}, {status + "false}", 1},      {status + "1}", row.other_type},
        {named + "}", 9},      {row.reply_name + " {,", 9}, {status + "null}", row.other_type},
    };
    for (const auto& [reply, expected] : replies) {
        arm.peer.answer(reply + "\n");
        EXPECT_EQ(row.call(arm.sockfd, true), expected) << reply;
        EXPECT_EQ(arm.peer.next_request(), blocking);
        expect_idle();
    }

    const DeadSocket dead;
    EXPECT_EQ(row.call(dead.sockfd, true), 6) << "not connected";
    expect_idle();

    const bool is_guarded = row.entry == Entry::guarded || row.entry == Entry::sleeping_guarded;
    EXPECT_EQ(row.call(0, false), is_guarded ? 5 : 0) << "descriptor 0";
    const bool sleeps = row.entry == Entry::sleeping || row.entry == Entry::sleeping_guarded;
    expect_delay(sleeps, [&] { row.call(-1, false); });
}

void check(const Getter& row)
{
    Arm arm(row.model);
    const std::string request = on_the_wire(row.request);
    std::vector<double> values, untouched;
    const DeadSocket dead;
    EXPECT_EQ(row.call(dead.sockfd, untouched), 6) << "not connected";
    expect_idle();

    std::vector<ReplyCase> cases = row.cases;
    cases.push_back({row.reply_name + " {,", 9, untouched});
    cases.push_back({"{\"command\":\"" + row.reply_name + "\"}", row.missing, untouched});
    for (const ReplyCase& expected : cases) {
        arm.peer.answer(expected.reply + "\n");
        EXPECT_EQ(row.call(arm.sockfd, values), expected.status) << expected.reply;
        EXPECT_EQ(values.size(), expected.values.size()) << expected.reply;
        for (size_t i = 0; i < std::min(values.size(), expected.values.size()); ++i)
            EXPECT_FLOAT_EQ(static_cast<float>(values[i]), static_cast<float>(expected.values[i]))
                << expected.reply << " output " << i;
        EXPECT_EQ(arm.peer.next_request(), request);
        expect_idle();
    }

    expect_delay(row.sleeps, [&] { row.call(dead.sockfd, values); });
}

TEST_P(Setters, SendsAwaitsAndDecodes)
{
    check(GetParam());
}

TEST_P(Getters, SendsAwaitsAndDecodes)
{
    check(GetParam());
}
