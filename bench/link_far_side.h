// The far side of the links of the explorer: controllers that may be busy, silent, late, out of words or gone, and notice what a
// link should not have sent.
#pragma once

#include "link_model.h"

namespace modelled {

class FarSide : public World {
  public:
    const char* thread_name(unsigned number) override;
    void dialled(Socket& socket) override;
    void lacks() override;
    void has_left(Socket& socket, const std::string& bytes) override;
    void closed(Socket& socket) override;
    Time next() override;
    bool go_on() override;
    void disturb() override;
};

} // namespace modelled
