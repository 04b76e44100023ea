// A client of the simulated controller, in process: whatever it gets goes to a function.
#pragma once

#include "commands/client.h"

#include <functional>

class Listener : public kx::sim::Client {
  public:
    using Hear = std::function<void(const std::string& line)>;

    explicit Listener(Hear hear) : hear_(std::move(hear)) {}
    void reply(const std::string& line) override { hear_(line); }
    void push(std::string_view, const std::string& line) override { hear_(line); }

  private:
    Hear hear_;
};

inline kx::sim::ClientHandle listener(Listener::Hear hear)
{
    return std::make_shared<Listener>(std::move(hear));
}
