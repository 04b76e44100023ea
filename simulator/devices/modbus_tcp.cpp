#include "devices/modbus_tcp.h"

#include <cerrno>
#include <stdexcept>

#include <modbus/modbus.h>

#include "arm/refused.h"

namespace kx::sim {

namespace {

/** The slave has answered, but with an exception. */
bool is_exception(int error)
{
    return error >= EMBXILFUN && error <= EMBXGTAR;
}

} // namespace

ModbusTcp::ModbusTcp(const std::string& host, const std::string& port, Post post)
    : slave_(modbus_new_tcp_pi(host.c_str(), port.c_str()), modbus_free), post_(std::move(post))
{
    if (!slave_) throw std::invalid_argument("no address of a Modbus slave: " + host + ":" + port);
    thread_ = std::thread(&ModbusTcp::work, this);
}

ModbusTcp::~ModbusTcp()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_one();
    thread_.join();
    modbus_close(slave_.get());
}

void ModbusTcp::transact(ModbusTransaction transaction, double timeout, ModbusDone done)
{
    const std::lock_guard lock(mutex_);
    if (jobs_.size() >= capacity) throw Refused("too many transactions are waiting");
    jobs_.push_back({std::move(transaction), timeout, std::move(done)});
    changed_.notify_one();
}

void ModbusTcp::work()
{
    for (;;) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        if (stopping_) return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();

        std::string error = perform(job);
        post_([done = std::move(job.done), values = std::move(job.transaction.values),
               error = std::move(error)] { done(values, error); });
    }
}

/** Returns what went wrong, if anything. */
std::string ModbusTcp::perform(Job& job)
{
    const auto microseconds = static_cast<uint32_t>(job.timeout * 1e6);
    modbus_set_response_timeout(slave_.get(), microseconds / 1000000, microseconds % 1000000);
    modbus_set_slave(slave_.get(), job.transaction.device);
    for (;;) {
        const bool is_fresh = !connected_;
        if (is_fresh) {
            if (modbus_connect(slave_.get()) != 0)
                return std::string("the Modbus slave cannot be reached: ") + modbus_strerror(errno);
            connected_ = true;
        }
        if (exchange(job.transaction) >= 0) return "";
        const int error = errno;
        if (is_exception(error)) return modbus_strerror(error);
        modbus_close(slave_.get());
        connected_ = false;
        // A connection from earlier may have ended unnoticed; that is worth another try.
        const bool was_closed = error == ECONNRESET || error == EPIPE;
        if (is_fresh || !was_closed)
            return std::string("no answer of the Modbus slave: ") + modbus_strerror(error);
    }
}

/** One request and its reply; -1 with errno if that failed. */
int ModbusTcp::exchange(ModbusTransaction& transaction)
{
    using enum ModbusFunction;
    modbus_t* slave = slave_.get();
    const int address = transaction.address, count = static_cast<int>(transaction.values.size());
    std::vector<uint8_t> bits(transaction.values.begin(), transaction.values.end());
    std::vector<uint16_t> words(transaction.values.begin(), transaction.values.end());
    int done = -1;
    switch (transaction.function) {
    case read_coils:
        done = modbus_read_bits(slave, address, count, bits.data());
        transaction.values.assign(bits.begin(), bits.end());
        break;
    case read_inputs:
        done = modbus_read_input_bits(slave, address, count, bits.data());
        transaction.values.assign(bits.begin(), bits.end());
        break;
    case read_holding_registers:
        done = modbus_read_registers(slave, address, count, words.data());
        transaction.values.assign(words.begin(), words.end());
        break;
    case read_input_registers:
        done = modbus_read_input_registers(slave, address, count, words.data());
        transaction.values.assign(words.begin(), words.end());
        break;
    case write_coil:
        done = modbus_write_bit(slave, address, transaction.values.front());
        break;
    case write_coils:
        done = modbus_write_bits(slave, address, count, bits.data());
        break;
    case write_register:
        done = modbus_write_register(slave, address, words.front());
        break;
    case write_registers:
        done = modbus_write_registers(slave, address, count, words.data());
        break;
    }
    return done;
}

} // namespace kx::sim
