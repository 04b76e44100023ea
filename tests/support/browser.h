// A headless Chromium with one page, driven through ChromeDriver (the WebDriver protocol); ended with the
// object.
#pragma once

#include "support/process.h"

#include <chrono>
#include <fstream>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <thread>

class Browser {
  public:
    using Json = nlohmann::json;

    // @param drawing the switches that say how 3D is drawn: in software, unless given
    explicit Browser(const std::vector<std::string>& drawing = {"--use-angle=swiftshader",
                                                                "--enable-unsafe-swiftshader"})
    {
        while (port_ == 0) {
            const std::string line = driver_.line();
            if (line.empty()) break;
            port_ = number_behind("on port ", line.find("successfully") == line.npos ? "" : line);
        }
        // As root in a container there is no sandbox, and without a GPU the 3D view is drawn in software.
        Json arguments = {"--headless=new", "--no-sandbox", "--disable-dev-shm-usage",
                          "--window-size=1280,720", "--hide-scrollbars"};
        for (const std::string& argument : drawing)
            arguments.push_back(argument);
        const Json wanted = {{"goog:chromeOptions", {{"args", arguments}}},
                             {"goog:loggingPrefs", {{"browser", "ALL"}}}};
        session_ = "/session/" +
                   post("/session", {{"capabilities", {{"alwaysMatch", wanted}}}}).value("sessionId", "");
        resize(1280, 720);
    }

    ~Browser() { client().Delete(session_); }

    void open(const std::string& address) { post(session_ + "/url", {{"url", address}}); }

    // Goes on in another window, which is beside the others and seen as they are; tells by what to come back.
    std::string open_window()
    {
        const Json window = post(session_ + "/window/new", {{"type", "window"}});
        go_to(window["handle"]);
        return window["handle"];
    }
    void go_to(const std::string& window) { post(session_ + "/window", {{"handle", window}}); }

    void resize(int width, int height)
    {
        protocol("Emulation.setDeviceMetricsOverride",
                 {{"width", width}, {"height", height}, {"deviceScaleFactor", 1}, {"mobile", false}});
    }

    void press(const std::string& key)
    {
        const Json keys = {{{"type", "keyDown"}, {"value", key}}, {{"type", "keyUp"}, {"value", key}}};
        post(session_ + "/actions", {{"actions", {{{"type", "key"}, {"id", "keys"}, {"actions", keys}}}}});
    }

    // Clicks where a user would; fails if something else is in the way.
    void click(const std::string& selector)
    {
        const Json element = post(session_ + "/element", {{"using", "css selector"}, {"value", selector}});
        ASSERT_TRUE(element.is_object() && !element.contains("error")) << selector << ": " << element;
        const Json result =
            post(session_ + "/element/" + element.begin()->get<std::string>() + "/click", Json::object());
        EXPECT_TRUE(result.is_null()) << selector << ": " << result;
    }

    // Holds the mouse's button down on something for a while.
    void hold(const std::string& selector, int milliseconds)
    {
        const Json element = post(session_ + "/element", {{"using", "css selector"}, {"value", selector}});
        const Json steps = {
            {{"type", "pointerMove"}, {"duration", 0}, {"x", 0}, {"y", 0}, {"origin", element}},
            {{"type", "pointerDown"}, {"button", 0}},
            {{"type", "pause"}, {"duration", milliseconds}},
            {{"type", "pointerUp"}, {"button", 0}}};
        post(session_ + "/actions",
             {{"actions", {{{"type", "pointer"}, {"id", "mouse"}, {"actions", steps}}}}});
    }

    Json run(const std::string& script)
    {
        return post(session_ + "/execute/sync", {{"script", script}, {"args", Json::array()}});
    }

    std::string text(const std::string& selector)
    {
        const Json text = run("return document.querySelector('" + selector + "').textContent");
        return text.is_string() ? text.get<std::string>() : text.dump();
    }

    // What the page complained of, content that its policy forbids among it.
    std::vector<std::string> complaints()
    {
        std::vector<std::string> messages;
        for (const Json& entry : post(session_ + "/se/log", {{"type", "browser"}}))
            if (entry["level"] == "SEVERE") messages.push_back(entry["message"]);
        return messages;
    }

    void prefer(const std::vector<std::pair<const char*, const char*>>& wishes)
    {
        Json features = Json::array();
        for (const auto& [feature, value] : wishes)
            features.push_back({{"name", feature}, {"value", value}});
        protocol("Emulation.setEmulatedMedia", {{"features", features}});
    }

    // Has files that a page gives its user go into a folder.
    void download_to(const std::string& folder)
    {
        protocol("Browser.setDownloadBehavior", {{"behavior", "allow"}, {"downloadPath", folder}});
    }

    // A PNG file's bytes, in base 64.
    std::string screenshot()
    {
        const auto reply = client().Get(session_ + "/screenshot");
        return reply ? Json::parse(reply->body)["value"].get<std::string>() : "";
    }

  private:
    Json post(const std::string& path, const Json& body)
    {
        const auto reply = client().Post(path, body.dump(), "application/json");
        EXPECT_TRUE(reply) << path << ": " << to_string(reply.error());
        return reply ? Json::parse(reply->body)["value"] : Json();
    }

    void protocol(const char* command, const Json& parameters)
    {
        post(session_ + "/goog/cdp/execute", {{"cmd", command}, {"params", parameters}});
    }

    httplib::Client client() const
    {
        httplib::Client client("127.0.0.1", port_);
        client.set_read_timeout(120);
        return client;
    }

    Process driver_{{CHROMEDRIVER, "--port=0"}};
    int port_ = 0;
    std::string session_;
};
