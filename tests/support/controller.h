// A kx-controller process on a free port of its own, ended with the object.
#pragma once

#include "kx_base.h"
#include "support/process.h"

#include <algorithm>

class Controller : public Process {
  public:
    explicit Controller(std::vector<std::string> options = {}) : Process(command(options))
    {
        port_ = number_behind(":", line());
        EXPECT_GT(port_, 0) << "kx-controller did not start";
        if (std::ranges::find(options, "--web") != options.end()) page_ = number_behind(":", line());
    }

    int port() const { return port_; }
    int page() const { return page_; } // the port of its page

  private:
    static std::vector<std::string> command(std::vector<std::string> options)
    {
        if (std::ranges::find(options, "--port") == options.end())
            options.insert(options.begin(), {"--port", "0"});
        options.insert(options.begin(), KX_CONTROLLER);
        return options;
    }

    int port_ = 0, page_ = 0;
};
