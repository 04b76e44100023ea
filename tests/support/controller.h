// A kx-controller process on a free port of its own, ended with the object.
#pragma once

#include "kx_base.h"
#include "support/process.h"

#include <algorithm>

class Controller : public Process {
  public:
    explicit Controller(std::vector<std::string> options = {}) : Process(command(options))
    {
        do {
            ports_.push_back(number_behind(":", line()));
            EXPECT_GT(ports_.back(), 0) << "kx-controller did not start";
        } while (std::ssize(ports_) < std::ranges::count(options, "--model"));
        if (std::ranges::find(options, "--web") != options.end()) page_ = number_behind(":", line());
    }

    int port(std::size_t arm = 0) const { return ports_.at(arm); }
    int page() const { return page_; } // the port of its page

  private:
    static std::vector<std::string> command(std::vector<std::string> options)
    {
        if (std::ranges::find(options, "--port") == options.end())
            options.insert(options.begin(), {"--port", "0"});
        options.insert(options.begin(), KX_CONTROLLER);
        return options;
    }

    std::vector<int> ports_; // of its arms
    int page_ = 0;
};
