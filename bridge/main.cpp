// kx-bridge: robot arms as topics of ROS 2, without ROS.
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

#include <CLI/CLI.hpp>

#include "arm.h"
#include "description/description.h"

namespace {

using namespace kx::bridge;

constexpr int wrong_use = 64; ///< as an exit status

constexpr std::string_view topics[] = {"joint_states",
                                       "tf",
                                       "tf_static",
                                       "diagnostics",
                                       "robot_description",
                                       "wrench",
                                       "robot_joint_commands",
                                       "joint_trajectory"};

std::string is_finite(const std::string& text)
{
    return std::isfinite(std::strtod(text.c_str(), nullptr)) ? "" : text + " is no number";
}

/** Names with slashes between them. */
bool is_topic(const std::string& text)
{
    const size_t end = std::min(text.find('/'), text.size());
    const std::string name = text.substr(0, end);
    return !name.empty() && kx::description::is_prefix(name) &&
           (end == text.size() || is_topic(text.substr(end + 1)));
}

Address parse(const std::string& text)
{
    const std::string wrong =
        text + " is not of the form [PREFIX=]HOST:PORT,MODEL, e.g. left_=127.0.0.1:8080,46";
    Address address;
    const size_t equals = text.find('='), begin = equals == text.npos ? 0 : equals + 1;
    const size_t colon = text.rfind(':');
    char more = 0;
    if (colon == text.npos || colon <= begin ||
        std::sscanf(text.c_str() + colon, ":%5d,%2d%c", &address.port, &address.model, &more) != 2 ||
        address.port < 1 || address.port > 65535 ||
        (address.model != 36 && address.model != 46 && address.model != 47))
        throw CLI::ValidationError("--arm", wrong);
    address.prefix = text.substr(0, begin ? begin - 1 : 0);
    address.host = text.substr(begin, colon - begin);
    if (address.host.starts_with('[') && address.host.ends_with(']')) // as ::1 is shown
        address.host = address.host.substr(1, address.host.size() - 2);
    if (begin > 0 && (address.prefix.empty() || !kx::description::is_prefix(address.prefix)))
        throw CLI::ValidationError("--arm", "a prefix is a name of letters, digits and _: " + text);
    return address;
}

std::vector<Address> parse_all(const std::vector<std::string>& texts)
{
    std::vector<Address> addresses;
    for (const std::string& text : texts) {
        addresses.push_back(parse(text));
        for (size_t i = 0; i + 1 < addresses.size(); ++i)
            if (addresses[i].prefix == addresses.back().prefix)
                throw CLI::ValidationError("--arm", "two arms need two prefixes: " + text);
    }
    return addresses;
}

std::map<std::string, std::string> parse_names(const std::vector<std::string>& texts)
{
    std::map<std::string, std::string> names;
    for (const std::string& text : texts) {
        const size_t equals = std::min(text.find('='), text.size());
        const std::string from = text.substr(0, equals);
        if (std::ranges::find(topics, from) == std::end(topics) || equals == text.size() ||
            !is_topic(text.substr(equals + 1)))
            throw CLI::ValidationError("--rename", text + " is not of the form TOPIC=NAME");
        names[from] = text.substr(equals + 1);
    }
    return names;
}

constexpr const char* footer = R"(
Topics: joint_states, tf, tf_static, diagnostics of all arms; robot_description, wrench, and with --command
robot_joint_commands and joint_trajectory of each, with its prefix before the name.)";

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Robot arms as topics of ROS 2, without ROS.", "kx-bridge");
    Options options;
    std::vector<std::string> arms, renamed;
    unsigned domain_number = 0;
    bool reaches_out = false;
    float velocity = options.stream.velocity[0], acceleration = options.stream.acceleration[0];
    app.set_version_flag("--version", std::string("kx-bridge ") + API_Version());
    app.add_option("--arm", arms, "[PREFIX=]HOST:PORT,MODEL of a controller; several with several prefixes")
        ->required()
        ->allow_extra_args(false)
        ->type_name("ARM");
    app.add_option("--domain", domain_number, "ROS 2's domain")
        ->check(CLI::Range(0, 232))
        ->envname("ROS_DOMAIN_ID")
        ->capture_default_str();
    app.add_flag("--network", reaches_out,
                 "reach beyond this machine, as CYCLONEDDS_URI says or by all interfaces");
    app.add_option("--rate", options.rate, "joint states a second")
        ->check(is_finite)
        ->check(CLI::Range(0.1, 1000.0))
        ->capture_default_str();
    app.add_option("--wrench", options.wrench, "readings of the force sensor a second; 0: none")
        ->check(is_finite)
        ->check(CLI::Range(0.0, 200.0))
        ->capture_default_str();
    app.add_flag("!--no-tf", options.has_tf, "leave tf and tf_static to another program");
    app.add_option("--rename", renamed, "TOPIC=NAME: another name for a topic; may be given several times")
        ->allow_extra_args(false)
        ->type_name("TOPIC=NAME");
    app.add_flag("--command", options.obeys, "take commands: whoever reaches the domain can move the arms");
    app.add_option("--watchdog", options.stream.watchdog, "s without a command after which an arm brakes")
        ->check(is_finite)
        ->check(CLI::Range(0.01, 10.0))
        ->capture_default_str();
    app.add_option("--velocity", velocity, "limit of the joints, degrees/s")
        ->check(is_finite)
        ->check(CLI::Range(0.1, 1000.0))
        ->capture_default_str();
    app.add_option("--acceleration", acceleration, "limit of the joints, degrees/s^2")
        ->check(is_finite)
        ->check(CLI::Range(1.0, 10000.0))
        ->capture_default_str();
    app.footer(footer);

    sigset_t ends; // which the threads to come must not take
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    struct sigaction hangup;
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) sigaddset(&ends, SIGHUP); // which nohup keeps away
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    try {
        app.parse(argc, argv);
        const std::vector<Address> addresses = parse_all(arms);
        options.renamed = parse_names(renamed);
        options.stream.silence = std::max(options.stream.silence, options.stream.watchdog);
        std::ranges::fill(options.stream.velocity, velocity);
        std::ranges::fill(options.stream.acceleration, acceleration);
        const Domain domain(domain_number, reaches_out);
        std::vector<std::unique_ptr<BridgedArm>> bridged;
        for (const Address& address : addresses)
            bridged.push_back(std::make_unique<BridgedArm>(domain, address, options));
        std::printf("kx-bridge: %zu in domain %u%s\n", bridged.size(), domain_number,
                    reaches_out ? "" : " of this machine");
        std::fflush(stdout);
        int signal;
        sigwait(&ends, &signal);
        return 0;
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "kx-bridge: %s\nkx-bridge --help says more.\n", error.what());
        return wrong_use;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kx-bridge: %s\n", error.what());
        return 1;
    }
}
