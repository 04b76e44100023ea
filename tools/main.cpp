// kx: drives a robot arm from a terminal or a script.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

#include <CLI/CLI.hpp>
#include <kx_base.h>

#include "arm.h"
#include "commands.h"
#include "description/description.h"

namespace {

using namespace kx::tool;

constexpr int wrong_use = 64; ///< beyond all status codes of the library

/** The library takes single-precision numbers; what an unset variable of a script leaves is not 0. */
std::string is_finite(const std::string& text)
{
    if (text.empty()) return "an empty argument is no number";
    return std::isfinite(std::strtof(text.c_str(), nullptr)) ? "" : text + " is no number to send";
}

std::string is_given(const std::string& text)
{
    return text.empty() ? "an empty argument is no value" : "";
}

std::string is_prefix(const std::string& text)
{
    return kx::description::is_prefix(text) ? "" : text + " is no prefix: letters, digits, _; first no digit";
}

/** Words of a controller, or the name of a file, fit for a terminal. */
std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 127; }, '?');
    return text;
}

constexpr const char* footer = R"(
Angles of joints are degrees; poses are metres and radians (RX RY RZ turn about the fixed axes
X, Y and Z in this order). KX_ARM and KX_MODEL in the environment stand for --arm and --model.

Exit status: 0 done, 1 the controller refused or broke off, 5 it cannot be reached, 7 no answer in
time, 8 to 12 the answer cannot be read, 13 the connection is lost, 19 there is no such host,
64 wrong use, nothing was sent, 65 a file cannot be read or written.)";

constexpr const char* how_to_have_an_arm = R"(no arm is given. A virtual one is started and asked like this:
    kx-controller --port 8080 --model 46 &
    kx --arm 127.0.0.1:8080 --model 46 state
To give the arm once for all commands: export KX_ARM=127.0.0.1:8080 KX_MODEL=46)";

constexpr const char* pose_help = "X Y Z in metres, RX RY RZ in radians";

class CommandLine {
  public:
    CommandLine() : app_("Drives a robot arm: moves it, reads its state, computes its kinematics.", "kx")
    {
        app_.set_version_flag("--version", std::string("kx ") + API_Version());
        app_.add_option("--arm", given_.arm, "HOST:PORT of its controller")->envname("KX_ARM");
        app_.add_option("--model", given_.model, "its model: 36 or 46 (six joints), 47 (seven)")
            ->check(CLI::IsMember({36, 46, 47}))
            ->envname("KX_MODEL");
        app_.add_flag("--json", given_.json, "print one line of JSON instead of a table");
        app_.add_option("--timeout", given_.timeout,
                        "wait so long for the connection and for an answer, s; usually 3, gripper 15")
            ->check(is_finite)
            ->check(CLI::Range(0.001, 3600.0));
        app_.require_subcommand(1);
        app_.fallthrough();
        app_.footer(footer);
        add_commands();
    }

    int run(int argc, char** argv)
    {
        try {
            app_.parse(words(argc, argv));
            if (needs_arm_ && given_.arm.empty()) throw WrongUse(how_to_have_an_arm);
            return finish(command_(given_));
        } catch (const Failed& failed) {
            return finish({failed.status, {}, failed.why});
        } catch (const CLI::Success& help) {
            return app_.exit(help);
        } catch (const CLI::ParseError& error) {
            return complain(app_.get_subcommands().empty() ? what_there_is() : error.what());
        } catch (const WrongUse& error) {
            return complain(error.what());
        }
    }

  private:
    /** Last one first, as the parser takes them; and -.5, which it would take for an option, as -0.5. */
    static std::vector<std::string> words(int argc, char** argv)
    {
        std::vector<std::string> words(std::reverse_iterator(argv + argc), std::reverse_iterator(argv + 1));
        for (std::string& word : words)
            if (word.starts_with("-.")) word.insert(1, "0");
        return words;
    }

    CLI::App* add(const char* name, Answer (*command)(const Given&), const char* help, bool needs_arm = true)
    {
        CLI::App* sub = app_.add_subcommand(name, help);
        sub->fallthrough();
        sub->callback([=, this] {
            command_ = command;
            name_ = name;
            needs_arm_ = needs_arm;
        });
        return sub;
    }

    void add_numbers(CLI::App* command, const char* name, const char* help)
    {
        command->add_option(name, given_.numbers, help)->required()->check(is_finite);
    }

    void add_motion(const char* name, Answer (*command)(const Given&), const char* help, const char* numbers,
                    const char* numbers_help)
    {
        CLI::App* sub = add(name, command, help);
        add_numbers(sub, numbers, numbers_help);
        sub->add_option("--speed", given_.speed, "percent of the arm's limits")
            ->check(CLI::Range(1, 100))
            ->capture_default_str();
    }

    CLI::App* add_model(CLI::App* command)
    {
        command->add_option("model", given_.described, "36, 46 or 47; else that of --model")
            ->check(CLI::IsMember({36, 46, 47}));
        return command;
    }

    CLI::App* add_description(const char* name, Answer (*command)(const Given&), const char* help)
    {
        CLI::App* sub = add_model(add(name, command, help, false));
        sub->add_option("--prefix", given_.prefix, "what all names begin with, e.g. left_")->check(is_prefix);
        sub->add_option("--output", given_.output, "the file to write, instead of standard output");
        return sub;
    }

    void add_commands()
    {
        CLI::App* sub = add("state", state, "Read joint angles, tool pose and errors");
        sub->add_flag("--watch", given_.watch, "again and again, until interrupted");
        sub->add_option("--every", given_.every, "seconds between two readings")
            ->check(is_finite)
            ->check(CLI::Range(0.0, 3600.0))
            ->capture_default_str();

        constexpr const char* angles_help = "an angle for every joint, degrees";
        add_motion("movej", movej,
                   "Move all joints and wait until they are there; interrupting stops the arm", "joint",
                   angles_help);
        add_motion("movel", movel, "Move the tool along a line, wait and stop likewise", "pose", pose_help);
        add("stop", stop, "Stop the arm and drop all planned motions");

        sub = add("io", io, "Read all inputs and outputs, or read or set one");
        sub->add_option("kind", given_.kind, "do, di, ao, ai of the controller, tool of the flange")
            ->check(CLI::IsMember({"do", "di", "ao", "ai", "tool"}));
        sub->add_option("channel", given_.channel, "counted from 1")->check(CLI::Range(1, 255));
        sub->add_option("value", given_.value, "on or off; of ao V")->check(is_given);

        sub = add("gripper", gripper, "Open or close the gripper and wait until its fingers rest");
        sub->add_option("action", given_.action, "open, close, hold (close and keep up the force), to")
            ->check(CLI::IsMember({"open", "close", "hold", "to"}))
            ->required();
        sub->add_option("position", given_.position,
                        "for `to`, in the gripper's units (kx-controller: 0.1 mm)");
        sub->add_option("--speed", given_.finger_speed, "in the gripper's units")
            ->check(is_given)
            ->capture_default_str();
        sub->add_option("--force", given_.force, "in the gripper's units")
            ->check(is_given)
            ->capture_default_str();

        add_numbers(add("fk", forward, "Compute the tool's pose for joint angles; needs no arm", false),
                    "joint", angles_help);
        sub = add("ik", inverse, "Compute joint angles for a pose of the tool; needs no arm", false);
        add_numbers(sub, "pose", pose_help);
        sub->add_option("--near", given_.near,
                        "of several solutions the nearest to these angles, degrees; usually all 0")
            ->check(is_finite);

        add_description("urdf", urdf,
                        "Describe a model in URDF, as ROS and many others read it; needs no arm")
            ->add_option("--meshes", given_.meshes,
                         "draw it with the files of `kx meshes` in this directory, e.g. "
                         "package://kx_description/meshes; else of cylinders and balls");
        add_description("srdf", srdf, "Describe what motion planners need beside; needs no arm");
        add_description("mjcf", mjcf, "Describe it in the language of MuJoCo; needs no arm");
        add_model(add("meshes", meshes, "Write a model's shapes as STL; needs no arm", false))
            ->add_option("--output", given_.output, "the directory to write to")
            ->required();

        sub = add("raw", raw, "Send one JSON object, print what comes back");
        sub->add_option("object", given_.line, R"(e.g. '{"command":"get_joint_degree"}')")->required();
        sub->add_option("--listen", given_.listen, "print what comes for so many seconds more")
            ->check(is_finite)
            ->check(CLI::Range(0.0, 3600.0));

        sub = add("record", record, "Record the arm's states and the lines of the wire, until interrupted");
        sub->add_option("file", given_.file, "of the format MCAP")->required();
        sub->add_option("--hz", given_.hz, "states a second")
            ->check(is_finite)
            ->check(CLI::Range(0.1, 1000.0))
            ->capture_default_str();
        sub->add_option("--seconds", given_.seconds, "end after so many")
            ->check(is_finite)
            ->check(CLI::Range(0.0, 1e7));
        sub->add_flag("--overwrite", given_.overwrite, "replace a file that exists");
        sub = add("export", export_recording, "Print what a recording holds; needs no arm", false);
        sub->add_option("file", given_.file, "of the format MCAP")->required();
        sub->add_flag(
            "--csv", given_.csv,
            "joint angles, degrees, over seconds since 1970, which is usual; with --json lines of the "
            "wire and events, as kx-controller replays them");
    }

    /** Prints what there is; status and its words too if something went wrong. */
    int finish(const Answer& answer) const
    {
        if (given_.json ? !answer.is_printed : answer.status == KX_SUCCESS) print(answer, given_.json);
        if (answer.status != KX_SUCCESS)
            std::fprintf(stderr, "kx: %s: status %d: %s\n", name_.c_str(), answer.status,
                         printable(answer.why).c_str());
        return answer.status;
    }

    static int complain(const std::string& what)
    {
        std::fprintf(stderr, "kx: %s\nkx --help and kx COMMAND --help say more.\n", what.c_str());
        return wrong_use;
    }

    /** Answers who asks for something else. */
    std::string what_there_is() const
    {
        const auto given = app_.remaining();
        std::string text = given.empty() ? "a command is needed:" : "there is no " + given.front() + ", only";
        for (const CLI::App* command : app_.get_subcommands([](const CLI::App*) { return true; }))
            text += ' ' + command->get_name();
        return text;
    }

    CLI::App app_;
    Given given_;
    std::string name_;
    bool needs_arm_ = false;
    Answer (*command_)(const Given&) = nullptr;
};

} // namespace

int main(int argc, char** argv)
{
    const int status = CommandLine().run(argc, argv);
    if (status != KX_SUCCESS || (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)) return status;
    std::fprintf(stderr, "kx: the output cannot be written\n");
    return bad_file;
}
