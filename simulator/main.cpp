// kx-controller: a virtual arm controller. It answers the controller's JSON line protocol and moves a
// simulated arm.
#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

#include <kx_base.h>

#include "line/faults.h"
#include "server.h"

namespace {

using namespace kx::sim;

constexpr int wrong_use = 64; ///< as an exit status
constexpr std::size_t most_arms = 8;

/** Values by channel or address. */
using Channels = std::map<int, double>;

/** What goes into the options by way of something else. */
struct Given {
    Channels digital_inputs, analogue_inputs, tool_inputs, modbus_inputs, modbus_registers;
    double object_width = 0, object_mass = Object{}.mass;
    double table = 0;
    std::vector<double> way;
};

template <typename Inputs>
void set(Inputs& inputs, const Channels& given)
{
    for (const auto& [channel, value] : given)
        inputs[static_cast<std::size_t>(channel - 1)] = static_cast<typename Inputs::value_type>(value);
}

/** Which numbers an option of the form NUMBER=VALUE takes, and which values, all from 0. */
struct Form {
    int first, last;
    double highest;
    bool is_whole = true;
};

constexpr Form switches{1, io_channels, 1}, volts{1, io_channels, 10, false}, bits{0, 65535, 1},
    registers{0, 65535, 65535};

bool takes(const Form& form, int number, double value)
{
    return number >= form.first && number <= form.last && value >= 0 && value <= form.highest &&
           (!form.is_whole || value == std::floor(value));
}

/** An option of the form NUMBER=VALUE, which may be given several times. */
void add_channels(CLI::App& app, const std::string& name, Channels& channels, const Form& form,
                  const std::string& help)
{
    const auto take = [=, &channels](const std::vector<std::string>& settings) {
        for (const std::string& setting : settings) {
            int channel = 0;
            double value = 0;
            char more = 0;
            if (std::sscanf(setting.c_str(), "%d=%lf%c", &channel, &value, &more) != 2 ||
                !takes(form, channel, value)) {
                std::ostringstream message;
                message << setting << " is not NUMBER=VALUE with a number from " << form.first << " to "
                        << form.last << " and a " << (form.is_whole ? "whole " : "") << "value from 0 to "
                        << form.highest;
                throw CLI::ValidationError(name, message.str());
            }
            channels[channel] = value;
        }
    };
    app.add_option_function<std::vector<std::string>>(name, take, help)->type_name("NUMBER=VALUE");
}

/** NaN is in no range. */
CLI::Validator between(double low, double high)
{
    std::ostringstream out;
    out << "from " << low << " to " << high;
    const std::string range = out.str();
    const auto wrong = [=](const std::string& given) {
        double value = 0;
        const bool is_within = CLI::detail::lexical_cast(given, value) && value >= low && value <= high;
        return is_within ? "" : given + " is no number " + range;
    };
    return {wrong, range};
}

/** An empty text, as of a variable that a shell does not know, would be taken for none. */
const CLI::Validator said([](const std::string& given) { return given.empty() ? "nothing is given" : ""; },
                          "");

void add_world_options(CLI::App& app, World& world, Given& given)
{
    add_channels(app, "--di", given.digital_inputs, switches,
                 "digital inputs of the controller, counted from 1");
    add_channels(app, "--ai", given.analogue_inputs, volts, "its analogue inputs, V");
    add_channels(app, "--tool-di", given.tool_inputs, switches,
                 "inputs of the tool flange, where it has no outputs");
    app.add_option("--object", given.object_width, "width of an object between the gripper's fingers, mm")
        ->check(between(1, 100));
    app.add_option("--object-mass", given.object_mass, "its mass, kg")
        ->check(between(0, 10))
        ->capture_default_str();
    app.add_option("--payload", world.payload, "mass mounted on the flange, kg")
        ->check(between(0, 20))
        ->capture_default_str();
    app.add_option("--table", given.table, "height of a level surface that the flange can touch, mm")
        ->check(between(-10000, 10000));
    app.add_option("--lead", given.way,
                   "where the operator leads the arm in drag teaching: joint angles with commas, degrees; "
                   "for several places several times")
        ->delimiter(',')
        ->check(between(-360, 360));
    add_channels(app, "--modbus-input", given.modbus_inputs, bits,
                 "discrete inputs of the simulated Modbus devices, by address");
    add_channels(app, "--modbus-register", given.modbus_registers, registers, "their input registers");
    app.add_option("--log", world.log_file, "file into which a client can have the log written")->check(said);
}

void add_testing_options(CLI::App& app, ServerOptions& options)
{
    app.add_option("--fault", options.faults,
                   "what goes wrong from the start, see below; may be given several times")
        ->allow_extra_args(false)
        ->type_name("FAULT");
    app.add_option("--script,--fault-script", options.script,
                   "file of what happens, one a line after the seconds since the first connection, after the "
                   "command at whose first request it begins, or after an output: 2.5 silence, movej reset, "
                   "movej+0.4 collision, do 1 rises, +0.5 di 2 on; before a command or an output, every")
        ->check(said)
        ->type_name("FILE");
    app.add_option("--control", options.control,
                   "port of this machine on which the same is heard line by line, 0 picks a free one; -: the "
                   "standard input")
        ->check(said)
        ->type_name("PORT|-");
    app.add_flag("--until-eof", options.until_eof,
                 "end when the standard input does: with the program at the other end of a pipe");
    app.add_option("--seed", options.seed, "of the faults that strike by chance")->capture_default_str();
    app.add_option("--record", options.record,
                   "file into which all traffic is recorded, without passwords; with the arm's angles if it "
                   "ends in .mcap")
        ->check(said)
        ->type_name("FILE");
    const auto replay =
        app.add_option("--replay", options.replay, "recording that answers instead of the arm")
            ->check(said)
            ->type_name("FILE");
    app.add_option("--proxy", options.proxy, "controller that answers instead of the arm")
        ->check(said)
        ->type_name("HOST:PORT")
        ->excludes(replay);
    app.footer("What happens; faults are ended by their name and off, or all by off; of several arms all do "
               "it, unless it begins with\n"
               "one of them, as arm 2 collision:\n" +
               Faults::help());
}

void complete_world(const CLI::App& app, World& world, const Given& given, const std::vector<int>& models)
{
    set(world.digital_inputs, given.digital_inputs);
    set(world.analogue_inputs, given.analogue_inputs);
    set(world.tool_inputs, given.tool_inputs);
    world.modbus_inputs = {given.modbus_inputs.begin(), given.modbus_inputs.end()};
    world.modbus_input_registers = {given.modbus_registers.begin(), given.modbus_registers.end()};
    if (app.count("--object")) world.object = {given.object_width, given.object_mass};
    if (app.count("--table")) world.table = given.table;
    const std::size_t joints = models.front() == 47 ? 7 : 6;
    if (!given.way.empty())
        for (const int model : models)
            if ((model == 47) != (joints == 7))
                throw std::invalid_argument("--lead is for arms with the same number of joints");
    for (auto angle = given.way.begin(); angle != given.way.end();
         angle += static_cast<std::ptrdiff_t>(joints)) {
        if (given.way.end() - angle < static_cast<std::ptrdiff_t>(joints))
            throw std::invalid_argument("--lead takes one angle for every joint");
        world.operator_way.emplace_back(angle, angle + static_cast<std::ptrdiff_t>(joints));
    }
}

/** What several arms need, and what is of one alone. */
void complete_arms(const CLI::App& app, ServerOptions& options)
{
    const std::size_t arms = options.models.size();
    if (arms > most_arms)
        throw std::invalid_argument("there are at most " + std::to_string(most_arms) + " arms");
    for (const char* option : {"--proxy", "--replay", "--record", "--log"})
        if (arms > 1 && app.count(option) > 0)
            throw std::invalid_argument(std::string(option) +
                                        " is for one arm: give several of them a kx-controller each");
    std::vector<unsigned short>& ports = options.ports;
    if (ports.size() == 1)
        while (ports.size() < arms) {
            if (ports.back() == 65535)
                throw std::invalid_argument("there are not as many ports from --port on");
            ports.push_back(ports.back() ? static_cast<unsigned short>(ports.back() + 1) : 0);
        }
    if (ports.size() != arms) throw std::invalid_argument("--port is given once, or once for each --model");
}

/** One that is closed would be the next client's. */
void have_standard_streams()
{
    int spare = open("/dev/null", O_RDWR);
    while (spare >= 0 && spare <= STDERR_FILENO)
        spare = open("/dev/null", O_RDWR);
    close(spare);
}

int complain(const std::exception& error, int status)
{
    std::fprintf(stderr, "kx-controller: %s\n", error.what());
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    have_standard_streams();
    ServerOptions options;
    Given given;
    CLI::App app("Virtual controller of a robot arm, or of several: many clients, simulated arms.",
                 "kx-controller");
    app.add_option("--host", options.host, "address or name to listen on")->capture_default_str();
    app.add_option(
           "--port", options.ports,
           "TCP port to listen on, 8080 unless given, 0 picks a free one; several arms have the ports from "
           "there on, unless each is given its own")
        ->allow_extra_args(false);
    app.add_option("--model", options.models,
                   "arm model code, 46 unless given; for several arms side by side several times")
        ->allow_extra_args(false)
        ->check(CLI::IsMember({36, 46, 47}));
    app.add_option("--speed", options.speed, "simulated time runs this many times as fast as real time")
        ->check(between(0.001, 1000))
        ->capture_default_str();
    app.add_flag("--trace", options.trace, "print every line in and out, with simulated seconds");
    app.add_option_function<int>(
           "--spacing", [&options](int ms) { options.spacing = std::chrono::milliseconds(ms); },
           "ms between two lines to one client, 30 unless given, as clients that poll need them; 0: none, "
           "and "
           "every target of a stream has a push of its own")
        ->check(CLI::Range(0, 1000))
        ->type_name("MS");
    app.add_option("--modbus-tcp", options.modbus_tcp,
                   "HOST:PORT of a real Modbus slave behind the controller's ports")
        ->check(said);
    unsigned short web_port = 0;
    CLI::Option* const web =
        app.add_option("--web", web_port,
                       "serve a page that shows the arm; 8090 unless a port is given, 0 picks a "
                       "free one")
            ->expected(0, 1)
            ->default_str("8090");
    app.add_option("--web-host", options.web_host, "address or name at which the page is served")
        ->needs(web)
        ->capture_default_str();
    add_world_options(app, options.world, given);
    add_testing_options(app, options);
    app.set_version_flag("--version", std::string("kx-controller ") + API_Version());
    try {
        app.parse(argc, argv);
        if (web->count() > 0) options.web_port = web_port;
        complete_arms(app, options);
        complete_world(app, options.world, given, options.models);
        serve(options);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        return complain(error, wrong_use);
    } catch (const std::invalid_argument& error) {
        return complain(error, wrong_use);
    } catch (const std::exception& error) {
        return complain(error, 1);
    }
}
