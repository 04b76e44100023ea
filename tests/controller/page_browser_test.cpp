// The page in a browser, while an application drives the arm through the library.
#include "support/application.h"
#include "support/browser.h"
#include "support/connection.h"

#include <cmath>
#include <filesystem>
#include <future>
#include <sstream>

namespace {

bool eventually(const std::function<bool()>& condition)
{
    for (int i = 0; i < 600; ++i) {
        if (condition()) return true;
        sleep_cp(100);
    }
    return false;
}

void save(const std::string& name, const std::string& base64)
{
    static const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::ofstream file(name, std::ios::binary);
    unsigned bits = 0;
    int count = 0;
    for (const char c : base64) {
        if (c == '=') break;
        bits = bits << 6 | static_cast<unsigned>(digits.find(c));
        if ((count += 6) >= 8) file.put(static_cast<char>(bits >> (count -= 8)));
    }
}

std::string address(int port)
{
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

bool shows(Browser& browser, const char* id, const std::string& text)
{
    const bool shown = eventually([&] { return browser.text(id) == text; });
    EXPECT_TRUE(shown) << id << " is \"" << browser.text(id) << "\", not \"" << text << '"';
    return shown;
}

/** The file that a page gives its user when something is clicked; there is no other one of that name. */
std::string downloaded(Browser& browser, const std::string& selector, const std::string& name)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::absolute("downloads");
    fs::remove_all(folder);
    browser.download_to(folder);
    browser.click(selector);
    EXPECT_TRUE(eventually([&] { return fs::exists(folder / name); })) << name;
    std::ifstream file(folder / name, std::ios::binary);
    return {std::istreambuf_iterator(file), {}};
}

/** How far from a place the flange is drawn, m. */
double off(Browser& browser, const Position& place)
{
    float x = 9, y = 9, z = 9;
    const auto drawn = browser.run("return document.querySelector('canvas')?.dataset.flange ?? ''");
    std::sscanf(drawn.get<std::string>().c_str(), "%f %f %f", &x, &y, &z);
    return std::hypot(x - place.x, y - place.y, z - place.z);
}

TEST(PageInABrowser, StopsWithoutDrawing)
{
    Application app{46, {"--web", "0"}};
    Browser browser({"--disable-3d-apis"});
    browser.open(address(app.controller->page()));
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    float far[7] = {150, -30, 60, 0, 60, 0};
    auto status = std::async(std::launch::async, [&] { return Movej_Cmd(app.arm, far, 3, 0, true); });
    EXPECT_TRUE(shows(browser, "#mode", "moving"));
    browser.press("\uE00C"); // Esc
    EXPECT_EQ(status.get(), 1) << "broken off";
    browser.click("#emergency-stop");
    EXPECT_TRUE(shows(browser, "#errors", "emergency stop"));

    const auto joints = app.standing();
    const Position expected = Forward_Kinematics(46, joints.data()).position;
    EXPECT_TRUE(eventually([&] { return off(browser, expected) < 2e-4; })) << "drawn flat";
}

// Whatever the header has to say, and however narrow the page is, a stop is where it was.
TEST(PageInABrowser, StopsStayWhereTheyAre)
{
    Application app{46, {"--web", "0"}};
    Browser browser;
    browser.open(address(app.controller->page()));
    const auto places = [&] {
        return browser.run(
            "return ['#stop', '#emergency-stop', 'main'].map((id) => {"
            "const { x, y, width, height } = document.querySelector(id).getBoundingClientRect();"
            "return [x, y, width, id === 'main' ? 0 : height]; })");
    };
    for (const int width : {1280, 820, 400}) {
        SCOPED_TRACE(width);
        browser.resize(width, 720);
        ASSERT_TRUE(shows(browser, "#mode", "ready"));
        const auto before = places();
        EXPECT_LE(before[1][0].get<double>() + before[1][2].get<double>(), width) << "within the page";
        float far[7] = {150, -30, 60, 0, 60, 0};
        auto status = std::async(std::launch::async, [&] { return Movej_Cmd(app.arm, far, 3, 0, true); });
        EXPECT_TRUE(shows(browser, "#mode", "moving"));
        EXPECT_EQ(places(), before) << "moving";
        browser.click("#emergency-stop");
        EXPECT_EQ(status.get(), 1);
        EXPECT_TRUE(shows(browser, "#errors", "emergency stop"));
        EXPECT_EQ(places(), before) << "stopped";
        browser.click("#clear-errors");
    }
}

// A browser opens six connections to an address. All windows must go on, and act.
TEST(PageInABrowser, ManyWindowsShareOneStream)
{
    Application app{46, {"--web", "0"}};
    Browser browser;
    for (int window = 1; window <= 8; ++window) {
        if (window > 1) browser.open_window();
        browser.open(address(app.controller->page()) + "#tab=surroundings");
        ASSERT_TRUE(shows(browser, "#mode", "ready")) << "window " << window;
        const std::string input =
            "[aria-label=\"Digital input " + std::to_string((window - 1) % 4 + 1) + "\"]";
        browser.click(input);
        EXPECT_TRUE(eventually([&] {
            return browser.run("return document.querySelector('" + input + "').ariaPressed") ==
                   (window <= 4 ? "true" : "false");
        })) << "window "
            << window;
    }
}

// One who looks on must know at whom, since when, and that there is nothing to stop here.
TEST(PageInABrowser, TellsWhoseArmItShows)
{
    auto behind = std::make_unique<Controller>();
    const std::string source = "127.0.0.1:" + std::to_string(behind->port());
    auto shown = std::make_unique<Controller>(std::vector<std::string>{"--web", "0", "--model", "46"});
    const int port = shown->page();
    Browser browser;
    browser.open(address(port) + "#tab=surroundings");
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    const std::string count_buttons =
        "return ['#stop', '#emergency-stop', '#power', '#teach', '#object', "
        "'[aria-label=\"Joint 1 up\"]'].filter((id) => "
        "document.querySelector(id).checkVisibility({checkVisibilityCSS: true})).length";
    EXPECT_EQ(browser.run(count_buttons), 6);
    shown.reset();
    Controller proxy({"--web", std::to_string(port), "--model", "46", "--proxy", source});
    EXPECT_TRUE(shows(browser, "#mode", "looking on"));
    EXPECT_EQ(browser.text("#running"), source + ", last reply now");
    EXPECT_EQ(browser.run(count_buttons), 0) << "there is nothing simulated to act on";
    behind.reset();
    EXPECT_TRUE(shows(browser, "#mode", "silent"));
    EXPECT_EQ(browser.text("#running").find(source + ", last reply 3 s ago"), 0u);

    Controller seven({"--model", "47"});
    Controller wrong({"--web", "0", "--model", "46", "--proxy", "127.0.0.1:" + std::to_string(seven.port())});
    browser.open(address(wrong.page()));
    const int arm = KX_Link_Open("127.0.0.1", wrong.port(), 47, nullptr);
    float joint[7];
    EXPECT_EQ(Get_Joint_Degree(arm, joint), 0);
    EXPECT_TRUE(shows(browser, "#mode", "another arm"));
    KX_Link_Close(arm);
}

// What was seen before a window was hidden is neither told again nor joined to what comes after.
TEST(PageInABrowser, GoesOnAfterItWasHidden)
{
    Application app{46, {"--web", "0", "--speed", "10"}};
    Browser browser;
    browser.open(address(app.controller->page()));
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    const auto hide = [&](const char* hidden) {
        browser.run(std::string("Object.defineProperty(document, 'hidden', {configurable: true, value: ") +
                    hidden + "}); document.dispatchEvent(new Event('visibilitychange'))");
    };
    const auto lines_with = [&](const char* text) {
        return browser.run(std::string("return [...document.querySelectorAll('#lines li')].filter((line) => "
                                       "line.textContent.includes('") +
                           text + "')).length");
    };
    float target[7] = {30, -20, 40, 0, 60, 0};
    ASSERT_EQ(Movej_Cmd(app.arm, target, 50, 0, true), 0);
    EXPECT_TRUE(eventually([&] { return lines_with("\"movej\"") == 1; }));
    const auto stands_drawn = [&] {
        return eventually([&] { return off(browser, Forward_Kinematics(46, target).position) < 1e-3; });
    };
    const std::string trail = "return document.querySelector('canvas').dataset.trail";
    ASSERT_TRUE(stands_drawn());
    const auto drawn = browser.run(trail);
    hide("true");
    target[0] = -40;
    ASSERT_EQ(Movej_Cmd(app.arm, target, 50, 0, true), 0);
    hide("false");
    EXPECT_TRUE(eventually([&] { return lines_with("\"movej\"") == 2; })) << "each of them once";
    EXPECT_TRUE(stands_drawn());
    EXPECT_EQ(browser.run(trail), drawn) << "no way that nobody saw";
}

// Arms side by side: one is worked with, each has its stop, and Esc stops them all.
TEST(PageInABrowser, WorksSeveralArms)
{
    Controller controller({"--model", "46", "--model", "47", "--web", "0", "--control", "0"});
    const int control = number_behind(":", controller.line());
    Browser browser;
    browser.open(address(controller.page()) + "#arm=2");
    ASSERT_TRUE(shows(browser, "#model", "Arm 47"));
    const int models[] = {46, 47};
    int arms[2];
    for (std::size_t i : {0, 1})
        arms[i] = KX_Link_Open("127.0.0.1", controller.port(i), models[i], nullptr);
    const auto move = [&](std::size_t i, unsigned char percent) {
        return std::async(std::launch::async, [arm = arms[i], percent] {
            float far[7] = {150, -30, 60, 0, 60, 0};
            return Movej_Cmd(arm, far, percent, 0, true);
        });
    };
    const auto chip = [](int arm) { return "#chips > :nth-child(" + std::to_string(arm) + ") "; };

    auto first = move(0, 3), second = move(1, 3);
    for (const int arm : {1, 2})
        EXPECT_TRUE(shows(browser, (chip(arm) + ".note").c_str(), "moving"));
    browser.click(chip(1) + "> :last-child");
    EXPECT_EQ(first.get(), 1) << "broken off";
    EXPECT_EQ(browser.text("#mode"), "moving") << "the other arm, which is worked with";
    first = move(0, 3);
    EXPECT_TRUE(shows(browser, (chip(1) + ".note").c_str(), "moving"));
    browser.press("\uE00C"); // Esc
    EXPECT_EQ(first.get(), 1);
    EXPECT_EQ(second.get(), 1);

    // Whatever acts, acts on the chosen arm, and what is told is of that one.
    browser.click("#emergency-stop");
    EXPECT_TRUE(shows(browser, "#errors", "emergency stop"));
    browser.click(chip(1) + "button");
    EXPECT_EQ(browser.text("#model"), "Arm 46");
    EXPECT_TRUE(shows(browser, "#mode", "ready"));
    EXPECT_EQ(browser.run("return location.hash"), "#arm=1");
    EXPECT_EQ(browser.run("return document.querySelectorAll('.joint').length"), 6);
    EXPECT_EQ(browser.text("#lines").find("emergency_stop"), std::string::npos);
    float joint[7];
    EXPECT_EQ(Get_Joint_Degree(arms[0], joint), 0);
    const Position expected = Forward_Kinematics(46, joint).position;
    EXPECT_TRUE(eventually([&] { return off(browser, expected) < 2e-4; }));

    // So does whoever stands beside the controller, and says to which arm.
    Connection line(control);
    const struct {
        const char *said, *answer;
    } rows[] = {{"arm 2 joint-error 7", "ok"},
                {"joint-error 7", "error: joint-error: JOINT is a number from 1 to 6, not 7"},
                {"arm 3 off", "error: there is no arm 3"},
                {"collision", "ok"}};
    for (const auto& row : rows) {
        line.send(row.said + std::string("\n"));
        EXPECT_EQ(line.line(), row.answer) << row.said;
    }
    EXPECT_TRUE(shows(browser, "#errors", "collision"));
    browser.click(chip(2) + "button");
    EXPECT_TRUE(eventually([&] {
        return browser.text("#errors").find("collision, joint 7: error") != std::string::npos;
    })) << browser.text("#errors");
    for (const int arm : arms)
        KX_Link_Close(arm);
}

// The past is seen as it was, and the present again when it is asked for.
TEST(PageInABrowser, LooksBack)
{
    Application app{46, {"--web", "0", "--speed", "10"}};
    Browser browser;
    browser.open(address(app.controller->page()) + "#tab=curves");
    const auto drawn_at = [&] {
        return browser.run("return document.querySelector('canvas').dataset.flange ?? ''");
    };
    ASSERT_TRUE(eventually([&] { return drawn_at() != ""; }));
    const auto before = drawn_at();
    float target[7] = {30, -20, 40, 0, 60, 0};
    ASSERT_EQ(Movej_Cmd(app.arm, target, 50, 0, true), 0);
    EXPECT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "40.000°"));
    const auto after = drawn_at();
    EXPECT_NE(after, before);
    browser.run("document.querySelector('#plot').focus()");
    EXPECT_TRUE(eventually([&] {
        browser.press("\uE00E"); // page up
        return drawn_at() == before;
    }));
    EXPECT_EQ(browser.text("[data-name=\"Joint 3\"]"), "40.000°") << "the readings are present";
    browser.click("#plot-now");
    EXPECT_TRUE(eventually([&] { return drawn_at() == after; }));
}

// A recording of either form is gone through as a whole: the arm, its readings and the curves follow.
TEST(PageInABrowser, GoesOverRecordings)
{
    Browser browser;
    for (const char* file : {"page.mcap", "page.jsonl"}) {
        SCOPED_TRACE(file);
        float target[7] = {30, -20, 40, 0, 60, 0}, reached[7] = {}, start[7] = {};
        {
            Application app{46, {"--speed", "10", "--record", file}};
            EXPECT_EQ(Get_Joint_Degree(app.arm, reached), 0);
            ASSERT_EQ(Movej_Cmd(app.arm, target, 50, 0, true), 0);
            EXPECT_EQ(Get_Joint_Degree(app.arm, reached), 0);
            app.controller->end(SIGINT);
        }
        Controller replay({"--model", "46", "--web", "0", "--replay", file});
        browser.open(address(replay.page()));
        ASSERT_TRUE(shows(browser, "#mode", "recording"));
        const auto go_to = [&](const char* place) {
            browser.run(std::string("const time = document.querySelector('#plot-time'); time.value = time.") +
                        place + "; time.dispatchEvent(new Event('input'))");
        };
        for (const auto& [place, joints] : {std::pair("max", target), {"min", start}}) {
            go_to(place);
            EXPECT_TRUE(eventually([&] {
                return off(browser, Forward_Kinematics(46, joints).position) < 2e-3;
            })) << place;
            EXPECT_NEAR(atof(browser.text("[data-name=\"Joint 3\"]").c_str()), joints[2], 1e-2) << place;
        }
        EXPECT_NE(browser.text("#events").find("client 1 movej"), std::string::npos);
        browser.click("#plot-play");
        EXPECT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "40.000°")) << "played to its end";
    }
    Controller other({"--model", "47", "--web", "0", "--replay", "page.mcap"});
    browser.open(address(other.page()));
    EXPECT_TRUE(shows(browser, "#message", "The recording is not shown: it is of an arm with 6 joints"));
}

// A reply stands with what it answers, whatever came between; and who reads back is not carried along.
TEST(PageInABrowser, PairsTheLinesOnTheWire)
{
    Application app{46, {"--web", "0"}};
    Browser browser;
    browser.open(address(app.controller->page()));
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    float target[7] = {30, -20, 40, 0, 60, 0};
    auto status = std::async(std::launch::async, [&] { return Movej_Cmd(app.arm, target, 10, 0, true); });
    EXPECT_TRUE(shows(browser, "#mode", "moving"));
    unsigned char on;
    EXPECT_EQ(Get_DI_State(app.arm, 1, &on), 0);
    EXPECT_EQ(status.get(), 0);
    const auto pairs = [&] {
        return browser.run(
            "const lines = [...document.querySelectorAll('#lines li')].map(({ line }) => line);"
            "return lines.filter(({ direction, partner }) => direction === '->' && partner)"
            ".map(({ text, partner }) => [text, lines.find(({ number }) => number === partner).text]"
            ".map((text) => JSON.parse(text).command));");
    };
    for (const char* command : {"movej", "get_DI_state"}) {
        const auto pair = Browser::Json::array(
            {command, command == std::string("movej") ? "current_trajectory_state" : command});
        EXPECT_TRUE(eventually([&] {
            const auto found = pairs();
            return std::find(found.begin(), found.end(), pair) != found.end();
        })) << pair;
    }

    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(Get_DI_State(app.arm, 1, &on), 0);
    const std::string place = "const list = document.querySelector('#lines');"
                              "return [list.scrollTop, getSelection().toString(), list.children.length]";
    EXPECT_TRUE(eventually([&] { return browser.run(place)[2] > 40; }));
    browser.run("const list = document.querySelector('#lines'); list.scrollTop = 16;"
                "getSelection().selectAllChildren(list.children[2])");
    const auto before = browser.run(place);
    EXPECT_NE(before[1], "");
    EXPECT_EQ(Get_DI_State(app.arm, 1, &on), 0);
    EXPECT_TRUE(eventually([&] { return browser.run(place)[2] > before[2]; }));
    const auto after = browser.run(place);
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1], before[1]);
}

// A fault is put together from its parameters; it stands among the events, from which one looks back; the rest of the
// machine is in rows.
TEST(PageInABrowser, TellsOfFaultsEventsAndTheRest)
{
    Application app{46, {"--web", "0", "--speed", "10"}};
    Browser browser;
    browser.open(address(app.controller->page()) + "#tab=trouble");
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    browser.run(
        "const fill = (field, value) => { field.value = value;"
        "  field.dispatchEvent(new Event('input')); field.dispatchEvent(new Event('change')); };"
        "fill(document.querySelector('#fault-kind'), 'delay');"
        "['3', '2'].forEach((value, i) => fill(document.querySelectorAll('#fault-fields input')[i], value))");
    browser.click("#fault-form .asked button");
    EXPECT_TRUE(shows(browser, "#faults", "delay 3 jitter 2"));

    EXPECT_EQ(Set_Lift_Height(app.arm, 120, 100, true), 0);
    browser.click("#tab-machine");
    EXPECT_TRUE(eventually([&] {
        return browser.run(
                   "return [...document.querySelectorAll('.row')].some((row) => row.checkVisibility() && "
                   "row.textContent === 'lift120 mm')") == true;
    }));

    browser.click("#tab-curves");
    browser.run("[...document.querySelectorAll('#events button')]"
                ".find(({ textContent }) => textContent.endsWith('happens: delay 3 jitter 2')).click()");
    EXPECT_EQ(browser.text("#plot-event").substr(0, 3), "at ");
}

// What is seen is taken along: curves as numbers and as a picture, and the lines on the wire with their latencies.
TEST(PageInABrowser, GivesFiles)
{
    Application app{46, {"--web", "0", "--speed", "10"}};
    Browser browser;
    browser.open(address(app.controller->page()) + "#tab=curves");
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    float target[7] = {30, -20, 40, 0, 60, 0};
    ASSERT_EQ(Movej_Cmd(app.arm, target, 50, 0, true), 0);
    ASSERT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "40.000°"));
    const std::string table = downloaded(browser, "#plot-csv", "joint-angles.csv");
    EXPECT_TRUE(table.starts_with("time (s),joint 1 (°),joint 2 (°)")) << table.substr(0, 80);
    EXPECT_TRUE(table.ends_with(",30,-20,40,0,60,0\n")) << table.substr(table.size() - 80);
    EXPECT_GT(std::ranges::count(table, '\n'), 5) << "the way there";
    EXPECT_TRUE(downloaded(browser, "#plot-png", "joint-angles.png").starts_with("\x89PNG"));
    EXPECT_TRUE(eventually(
        [&] { return browser.text("#lines").find("trajectory_state\":true") != std::string::npos; }));
    std::istringstream lines(downloaded(browser, "#wire-save", "wire.txt"));
    std::string line;
    while (std::getline(lines, line) && line.find("\"movej\"") == line.npos) {
    }
    double took = 0; // of the arm's time
    EXPECT_EQ(std::sscanf(line.c_str(), "%*f\tclient 1\t->\t%lf ms", &took), 1) << line;
    EXPECT_GT(took, 500);
}

// Joints in error, near a limit or without power are told apart in the picture.
TEST(PageInABrowser, TintsJoints)
{
    Application app{46, {"--web", "0", "--speed", "100"}};
    Browser browser;
    browser.open(address(app.controller->page()) + "#tab=trouble");
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    ASSERT_TRUE(eventually(
        [&] { return off(browser, Forward_Kinematics(46, app.joints().data()).position) < 1e-3; }));
    const auto pixels = [&](const std::string& colour) {
        return browser
            .run("const bytes = Uint8Array.from(atob('" + browser.screenshot() +
                 R"('), (c) => c.charCodeAt());
                return createImageBitmap(new Blob([bytes])).then((picture) => {
                    const paper = new OffscreenCanvas(832, 440).getContext('2d');
                    paper.drawImage(picture, 0, -100);
                    const { data } = paper.getImageData(0, 0, 832, 440);
                    let count = 0;
                    for (let i = 0; i < data.length; i += 4) {
                        const [r, g, b] = data.slice(i, i + 3);
                        count += )" +
                 colour + "; } return count; })")
            .get<int>();
    };
    const float turned[7] = {0, 0, 0, 0, 0, 359.5}, start[7] = {};
    const auto fault = [&](const std::string& text) {
        browser.run("document.querySelector('#fault').value = '" + text + "'");
        browser.click("#fault-form .asked button");
    };
    const struct {
        const char *why, *colour;
        std::function<void()> begin, end;
    } rows[] = {
        {"error", "r > 100 && g < r / 2 && b < r / 2", [&] { fault("joint-error 2"); },
         [&] { browser.click("#clear-errors"); }},
        {"limit", "r > 120 && g < 0.85 * r && g > 0.4 * r && b < 0.4 * r",
         [&] { EXPECT_EQ(Movej_Cmd(app.arm, turned, 100, 0, true), 0); },
         [&] { EXPECT_EQ(Movej_Cmd(app.arm, start, 100, 0, true), 0); }},
        {"no power", "r < 70 && g < 70 && b < 70", [&] { browser.click("#power"); },
         [&] { browser.click("#power"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const int before = pixels(row.colour);
        row.begin();
        EXPECT_TRUE(eventually([&] { return pixels(row.colour) > before + 60; })) << before;
        row.end();
        EXPECT_TRUE(eventually([&] { return pixels(row.colour) < before + 20; })) << before;
    }
}

// All can be done by keys: the view, held buttons, leaves, lines on the wire.
TEST(PageInABrowser, IsWorkedByKeys)
{
    Application app{46, {"--web", "0"}};
    Browser browser;
    browser.open(address(app.controller->page()) + "#jog-step=10&jog-speed=100");
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    ASSERT_TRUE(eventually(
        [&] { return off(browser, Forward_Kinematics(46, app.joints().data()).position) < 1e-3; }));
    const auto focus = [&](const std::string& selector) {
        browser.run("document.querySelector('" + selector + "').focus()");
    };
    const std::string right = "\uE014", up = "\uE013", space = " ";
    focus("#view canvas");
    for (const std::string& key : {right, up, std::string("+"), std::string("-")}) {
        const std::string before = browser.screenshot();
        browser.press(key);
        EXPECT_TRUE(eventually([&] { return browser.screenshot() != before; })) << key;
    }
    focus("[aria-label=\"Joint 3 up\"]");
    browser.press(space);
    EXPECT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "10.000°"));
    const std::string key = "const down = (type) => document.querySelector('[aria-label=\"Joint 3 up\"]')"
                            ".dispatchEvent(new KeyboardEvent(type, {key: ' '}));";
    browser.run(key + "document.querySelector('#jog-step').value = ''; down('keydown')");
    EXPECT_TRUE(shows(browser, "#mode", "jogging"));
    EXPECT_EQ(browser.text("#running"), "") << "nor a motion's number, which would be taken for a joint's";
    browser.run(key + "down('keyup')");
    EXPECT_TRUE(shows(browser, "#mode", "ready"));
    focus("#tab-move");
    browser.press(right);
    EXPECT_EQ(browser.run("return document.activeElement.id"), "tab-curves");
    EXPECT_EQ(browser.run("return document.querySelector('#curves').checkVisibility()"), true);
    float joint[7];
    EXPECT_EQ(Get_Joint_Degree(app.arm, joint), 0);
    focus("#lines");
    EXPECT_TRUE(eventually([&] {
        browser.press(up);
        return browser.run("return [...document.querySelectorAll('.chosen .direction')].map((e) => "
                           "e.textContent).join('')") == "→←";
    })) << "a reply, and with it its request";
}

// Waypoints taken on the page become programs that run, and lead the arm where the page's own Play leads it.
TEST(PageInABrowser, MakesProgramsOfWaypoints)
{
    Application app{46, {"--web", "0", "--speed", "10"}};
    Browser browser;
    browser.open(address(app.controller->page()));
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    const float end[7] = {30, 20, 40, 0, 60, 0}, away[7] = {10, 10, 60, 0, 50, 0};
    ASSERT_EQ(Movej_Cmd(app.arm, away, 100, 0, true), 0);
    ASSERT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "60.000°"));
    browser.click("#place-take");
    ASSERT_EQ(Movej_Cmd(app.arm, end, 100, 0, true), 0);
    ASSERT_TRUE(shows(browser, "[data-name=\"Joint 3\"]", "40.000°"));
    browser.run("document.querySelector('#target-kind').value = 'line'");
    browser.click("#place-take");
    std::ofstream("waypoints.cpp") << downloaded(browser, "#place-cpp", "waypoints.cpp");
    ASSERT_EQ(std::system(COMPILE " -o waypoints waypoints.cpp -lKX_Service"), 0);

    const std::function<bool()> ways[] = {[] { return std::system("./waypoints") == 0; },
#ifdef PYTHON
                                          [&] {
                                              std::ofstream("waypoints.py")
                                                  << downloaded(browser, "#place-python", "waypoints.py");
                                              return std::system(PYTHON "waypoints.py") == 0;
                                          },
#endif
                                          [&] { return browser.click("#place-play"), true; }};
    for (const auto& way : ways) {
        ASSERT_EQ(Movej_Cmd(app.arm, away, 100, 0, true), 0);
        EXPECT_TRUE(way());
        EXPECT_TRUE(eventually(
            [&] { return std::abs(atof(browser.text("[data-name=\"Joint 3\"]").c_str()) - 40) < 0.05; }));
    }
}

TEST(PageInABrowser, IsReadByEverybody)
{
    Application app{46, {"--web", "0"}};
    Browser browser;
    browser.open(address(app.controller->page()));
    ASSERT_TRUE(shows(browser, "#mode", "ready"));
    EXPECT_EQ(
        browser.run(
            "return document.querySelectorAll('output, [role=status], [role=alert], [aria-live]').length"),
        2)
        << "the mode, and what was refused";
    // Web Content Accessibility Guidelines 2.2: what is written, on what is behind it, on every leaf and in the picture.
    const std::string faint = R"(
        const light = (colour) => [0, 1, 2].map((i) => colour[i] / 255)
            .map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4))
            .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0) + 0.05;
        const read = (text) => (([r, g, b, a = 1]) => [r, g, b, a])(text.match(/[\d.]+/g).map(Number));
        const over = (top, below) => [0, 1, 2].map((i) => top[i] * top[3] + below[i] * (1 - top[3]));
        const ground = (node) => {
            const own = read(getComputedStyle(node).backgroundColor);
            return own[3] === 1 ? own : over(own, ground(node.parentElement));
        };
        const thin = (node) => (node ? getComputedStyle(node).opacity * thin(node.parentElement) : 1);
        const writes = (node) => node.checkVisibility({ checkVisibilityCSS: true }) && node.tagName !== 'OPTION'
            && (node.matches('select, input:not([type=range])')
                || [...node.childNodes].some((child) => child.nodeType === 3 && child.data.trim()));
        const pairs = () => [...document.querySelectorAll('body *')].filter(writes).map((node) => {
            const [r, g, b, a] = read(getComputedStyle(node).color);
            return [node.textContent || node.id, over([r, g, b, a * thin(node)], ground(node)), ground(node)];
        });
        document.querySelector('#message').classList.add('shown');
        for (const id of ['message', 'errors', 'running']) document.querySelector('#' + id).textContent = id;
        const all = [...document.querySelectorAll('[role=tab]')].flatMap((tab) => (tab.click(), pairs()));
        const style = getComputedStyle(document.documentElement);
        const named = (name) => [0, 2, 4].map((i) => parseInt(style.getPropertyValue(name).trim().slice(1 + i, 3 + i), 16));
        for (const name of ['soft', 'axisx', 'axisy', 'axisz', 'accent'])
            all.push([name, named('--3d-' + name), named('--3d-background')]);
        for (const name of ['blue', 'amber', 'red'])
            all.push([name, named('--' + name), named('--surface')], [name, named('--' + name), named('--paper')]);
        const contrast = (a, b) => Math.max(light(a) / light(b), light(b) / light(a));
        return all.filter(([, ink, paper]) => contrast(ink, paper) < 4.5).map(([text]) => text);)";
    for (const char* colours : {"none", "active"})
        for (const char* scheme : {"light", "dark"}) {
            browser.prefer({{"prefers-color-scheme", scheme}, {"forced-colors", colours}});
            EXPECT_EQ(browser.run(faint), Browser::Json::array())
                << scheme << ", forced colours: " << colours;
        }
    browser.prefer({{"forced-colors", "active"}});
    EXPECT_NE(browser.run("const look = (id) => getComputedStyle(document.querySelector(id)).backgroundColor;"
                          "return look('.lamp')"),
              browser.run("return getComputedStyle(document.querySelector('header')).backgroundColor"))
        << "a lamp is seen";
    save("page-forced.png", browser.screenshot());

    // The view is reached and turned by keys.
    ASSERT_TRUE(
        eventually([&] { return browser.run("return document.querySelector('canvas')?.tabIndex") == 0; }));
    browser.run("document.querySelector('canvas').focus({focusVisible: true})");
    EXPECT_EQ(browser.run("return getComputedStyle(document.querySelector('canvas')).outlineStyle"), "solid");
    const std::string label = browser.run("return document.activeElement.ariaLabel");
    EXPECT_EQ(label.substr(0, 6), "Arm 46");
}

TEST(PageInABrowser, ShowsTheArmAndWorksIt)
{
    Application app{46, {"--web", "0"}};
    const int arm = app.arm, port = app.controller->page();
    Browser browser;
    browser.open(address(port));
    browser.click("#tab-surroundings");
    const auto shows = [&](const char* id, const char* text) {
        return eventually([&] { return browser.text(id) == text; });
    };
    ASSERT_TRUE(shows("#mode", "ready")) << browser.text("#mode");

    // A digital input, clicked on the page and read by the application.
    unsigned char on = 9;
    EXPECT_EQ(Get_DI_State(arm, 2, &on), 0);
    EXPECT_EQ(on, 0);
    browser.click("[aria-label=\"Digital input 2\"]");
    EXPECT_TRUE(eventually([&] { return Get_DI_State(arm, 2, &on) == 0 && on == 1; }));

    // A motion that would take long moves what is shown, and the page's button stops it.
    float far[7] = {150, -30, 60, 0, 60, 0};
    auto status = std::async(std::launch::async, [&] { return Movej_Cmd(arm, far, 3, 0, true); });
    const auto joint = [&] { return atof(browser.text("[data-name=\"Joint 1\"]").c_str()); };
    EXPECT_TRUE(shows("#mode", "moving"));
    const double before = joint();
    EXPECT_TRUE(eventually([&] { return joint() > before + 3; }));
    browser.click("#stop");
    EXPECT_EQ(status.get(), 1) << "broken off";
    EXPECT_TRUE(shows("#mode", "ready"));

    // A held button jogs the joint for as long as it is held, and no longer.
    browser.run("document.querySelector('#jog-speed').value = 1");
    const double jogged_from = joint();
    browser.hold("[aria-label=\"Joint 1 up\"]", 2000);
    EXPECT_TRUE(shows("#mode", "ready"));
    EXPECT_GT(joint() - jogged_from, 2);
    EXPECT_LT(joint(), 90);

    // The arm is drawn as the library computes it.
    const auto joints = app.standing();
    EXPECT_NEAR(joint(), joints[0], 1e-3);
    const Position expected = Forward_Kinematics(46, joints.data()).position;
    EXPECT_TRUE(eventually([&] { return off(browser, expected) < 2e-4; }));
    EXPECT_TRUE(eventually(
        [&] { return browser.text("#lines").find("\"trajectory_state\":false") != std::string::npos; }));

    save("page-light.png", browser.screenshot());
    browser.prefer({{"prefers-color-scheme", "dark"}});
    save("page-dark.png", browser.screenshot());
    for (const std::string& complaint : browser.complaints())
        ADD_FAILURE() << complaint;

    // The page comes back after a restart, and may work the new controller.
    app.controller->end(SIGKILL);
    EXPECT_TRUE(shows("#mode", "no connection"));
    Controller again({"--web", std::to_string(port), "--model", "46"});
    EXPECT_TRUE(shows("#mode", "ready"));
    browser.click("#emergency-stop");
    EXPECT_TRUE(shows("#errors", "emergency stop"));
}

// A web site that its user has open asks for a motion at every door: the arm's port, a proxy's, the page's.
TEST(PageInABrowser, LetsNoOtherSiteMoveTheArm)
{
    Controller arm({"--web", "0"});
    Controller proxy({"--proxy", "127.0.0.1:" + std::to_string(arm.port())});
    httplib::Server site;
    site.Get("/", [](const auto&, auto& response) { response.set_content("<body>", "text/html"); });
    const int site_port = site.bind_to_any_port("127.0.0.1");
    std::thread serving([&] { site.listen_after_bind(); });

    Browser browser;
    browser.open("http://127.0.0.1:" + std::to_string(site_port) + "/");
    const std::string move =
        "const move = '{\"command\":\"movej\",\"joint\":[90000,0,0,0,0,0],\"v\":5,\"r\":0}\\n';";
    const std::string fetch = "return fetch(there, {method: 'POST', mode: 'no-cors', body: move})"
                              ".then(() => 'sent', (error) => String(error));";
    const std::string form =
        "const form = document.createElement('form'), field = document.createElement('input');"
        "form.action = there; form.method = 'POST'; form.enctype = 'text/plain';"
        "field.name = move; form.append(field); document.body.append(form); form.submit();";
    for (const int port : {arm.port(), proxy.port(), arm.page()})
        for (const std::string& way : {fetch, form}) {
            browser.run("const there = 'http://127.0.0.1:" + std::to_string(port) + "/';" + move + way);
            browser.open("http://127.0.0.1:" + std::to_string(site_port) + "/");
        }
    site.stop();
    serving.join();

    KX_API_Init(nullptr);
    const int client = Arm_Socket_Start("127.0.0.1", arm.port(), 46, 0);
    int plans = 9;
    EXPECT_EQ(Get_Arm_Plan_Num(client, &plans), 0);
    EXPECT_EQ(plans, 0);
    float joint[7] = {9};
    EXPECT_EQ(Get_Joint_Degree(client, joint), 0);
    EXPECT_EQ(joint[0], 0);
    Arm_Socket_Close(client);
}

} // namespace
