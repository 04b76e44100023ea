// The page in a browser, while an application drives the arm through the library.
#include "support/application.h"
#include "support/browser.h"

#include <cmath>
#include <future>

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

TEST(PageInABrowser, ShowsTheArmAndWorksIt)
{
    Application app{46, {"--web", "0"}};
    const int arm = app.arm, port = app.controller->page();
    Browser browser;
    browser.open("http://127.0.0.1:" + std::to_string(port) + "/");
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
    const auto joint = [&] { return atof(browser.text("[aria-label=\"Joint 1\"]").c_str()); };
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
    const auto drawn = [&] {
        float x = 9, y = 9, z = 9;
        const auto label = browser.run("return document.querySelector('canvas').getAttribute('aria-label')");
        std::sscanf(label.get<std::string>().c_str(), "Arm with its flange at %f %f %f m", &x, &y, &z);
        return std::hypot(x - expected.x, y - expected.y, z - expected.z) < 2e-4;
    };
    EXPECT_TRUE(eventually(drawn));
    EXPECT_TRUE(eventually(
        [&] { return browser.text("#lines").find("\"trajectory_state\":false") != std::string::npos; }));

    save("page-light.png", browser.screenshot());
    browser.prefer("dark");
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
