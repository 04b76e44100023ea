// Modbus transactions with a real slave over TCP. They run on a thread of their own, since a slave may take
// its time or be gone.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "devices/modbus.h"

struct _modbus;

namespace kx::sim {

class ModbusTcp : public ModbusLine {
  public:
    /** Runs a function on the thread of the controller. */
    using Post = std::function<void(std::function<void()>)>;

    /** Connects with the first transaction, and anew after a connection was lost. @throws
     * std::invalid_argument for an address that cannot be one */
    ModbusTcp(const std::string& host, const std::string& port, Post post);
    ~ModbusTcp() override;

    void transact(ModbusTransaction transaction, double timeout, ModbusDone done) override;

  private:
    static constexpr std::size_t capacity = 100; // transactions that may wait

    struct Job {
        ModbusTransaction transaction;
        double timeout;
        ModbusDone done;
    };

    void work();
    std::string perform(Job& job);
    int exchange(ModbusTransaction& transaction);

    std::unique_ptr<_modbus, void (*)(_modbus*)> slave_;
    Post post_;
    bool connected_ = false;

    std::mutex mutex_; ///< guards what follows
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace kx::sim
