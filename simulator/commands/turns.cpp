#include "commands/turns.h"

#include <optional>

namespace kx::sim {

struct Turns::Queue {
    ClientHandle client;
    std::deque<std::shared_ptr<std::optional<std::string>>> answers =
        {}; ///< those that are known, and others

    void tell()
    {
        for (; !answers.empty() && *answers.front(); answers.pop_front())
            client->reply(**answers.front());
    }
};

class Turns::Turn : public Client {
  public:
    explicit Turn(std::shared_ptr<Queue> queue) : queue_(std::move(queue))
    {
        queue_->answers.push_back(answer_);
    }

    void reply(const std::string& line) override
    {
        *answer_ = line;
        queue_->tell();
    }
    void push(std::string_view kind, const std::string& line) override { queue_->client->push(kind, line); }

  private:
    const std::shared_ptr<Queue> queue_;
    const std::shared_ptr<std::optional<std::string>> answer_ =
        std::make_shared<std::optional<std::string>>();
};

ClientHandle Turns::next(const ClientHandle& client)
{
    std::erase_if(queues_, [](const auto& entry) { return entry.second.expired(); });
    auto queue = queues_[client].lock();
    if (!queue) queues_[client] = queue = std::make_shared<Queue>(Queue{client});
    return std::make_shared<Turn>(queue);
}

} // namespace kx::sim
