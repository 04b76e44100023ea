// What comes of an arm's states on their way through kx-bridge into another implementation of DDS: bridge_figures [seconds]
// [states a second]. Ends with 1 if any went missing.
#include "bridge/fast_dds.h"
#include "support/controller.h"

#include <algorithm>

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? atoi(argv[1]) : 60;
    const std::string rate = argc > 2 ? argv[2] : "200";
    const Controller controller({"--spacing", "0"});
    ros::Domain domain;
    ros::Reader states(domain, ros::joint_state, "joint_states");
    Process bridge({KX_BRIDGE, "--domain", std::to_string(domain.number), "--rate", rate, "--arm",
                    "127.0.0.1:" + std::to_string(controller.port()) + ",46"});
    ros::Json state = states.next();
    if (state.is_null()) return 2;
    sleep(static_cast<unsigned>(seconds));
    if (bridge.end(SIGTERM) != 0) return 3;
    sleep(1); // for what is still on its way

    long lost = 0;
    std::vector<double> delays; // ms from a state's stamp until it was here
    for (long last = state["number"]; !(state = states.next([](auto&) { return true; }, 0)).is_null();
         last = state["number"]) {
        lost += state["number"].get<long>() - last - 1;
        delays.push_back(1e3 * (state["came"].get<double>() - state["sec"].get<double>() -
                                state["nanosec"].get<double>() / 1e9));
    }
    std::ranges::sort(delays);
    const auto at = [&](double share) {
        return delays[static_cast<size_t>(share * static_cast<double>(delays.size() - 1))];
    };
    std::printf("%zu states in %d s, %ld lost; from the arm to the reader %.3f ms (median), %.3f ms (99 %%), "
                "%.3f ms at most\n",
                delays.size(), seconds, lost, at(0.5), at(0.99), at(1));
    return lost == 0 ? 0 : 1;
}
