// What a link makes of each of kx-controller's faults: it keeps its promises, or says what is wrong.
#include "support/controller.h"

namespace {

// Output 1 is on and 2 is off, and both are asked for in turn: a reply that answers the wrong question shows.
struct Asked {
    int right = 0, timed_out = 0, wrong = 0, other = 0;
};

Asked ask(int arm, int times)
{
    Asked asked;
    for (int i = 0; i < times; ++i) {
        const int output = 1 + i % 2;
        unsigned char state = 9;
        const int status = Get_DO_State(arm, static_cast<unsigned char>(output), &state);
        if (status == KX_SUCCESS)
            ++(state == (output == 1) ? asked.right : asked.wrong);
        else
            ++(status == KX_TIMED_OUT ? asked.timed_out : asked.other);
    }
    return asked;
}

struct Fault {
    const char* name;
    std::vector<std::string> faults;
    int timeout_ms;
    int questions;
    int least_right; // of the questions; none may be wrong or end otherwise than in time-out
};

class LinkToFaults : public testing::TestWithParam<Fault> {};

} // namespace

TEST_P(LinkToFaults, GetsItsOwnAnswersOrNone)
{
    std::vector<std::string> options = {"--spacing", "0"};
    for (const std::string& fault : GetParam().faults)
        options.insert(options.end(), {"--fault", fault});
    const Controller controller(options);
    KX_LINK_OPTIONS link;
    KX_Link_Defaults(&link);
    link.late_reply_ms = 1000;
    link.silence_ms = 60000; // a share of lost lines is no silence
    const int arm = KX_Link_Open("127.0.0.1", controller.port(), 46, &link);
    ASSERT_GT(arm, 0);

    KX_Link_Timeout(arm, GetParam().timeout_ms);
    int status;
    do
        status = Set_DO_State(arm, 1, true, true);
    while (status == KX_TIMED_OUT);
    ASSERT_EQ(status, KX_SUCCESS);
    const Asked asked = ask(arm, GetParam().questions);
    EXPECT_EQ(asked.wrong, 0);
    EXPECT_EQ(asked.other, 0);
    EXPECT_GE(asked.right, GetParam().least_right) << asked.timed_out << " timed out";
    EXPECT_EQ(KX_Link_Close(arm), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, LinkToFaults,
    testing::Values(
        Fault{"none", {}, 20000, 200, 200}, Fault{"lost", {"drop 0.15"}, 700, 16, 4},
        Fault{"late", {"delay 100 jitter 50"}, 20000, 20, 20},
        Fault{"in_pieces", {"pieces 40 pause 0"}, 20000, 40, 40},
        Fault{"together", {"together 2 wait 20"}, 20000, 20, 20},
        Fault{"with_noise", {"garbage 1"}, 20000, 100, 100}, Fault{"long", {"long 60000"}, 20000, 40, 40},
        Fault{"long_noisy_pieces", {"long 3000", "garbage 0.5", "pieces 7 pause 1"}, 20000, 40, 40}),
    [](const auto& tested) { return tested.param.name; });
