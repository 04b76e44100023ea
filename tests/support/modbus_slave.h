// A Modbus slave over TCP on a free port of its own, with a few coils and registers.
#pragma once

#include "bound.h"

#include <atomic>
#include <gtest/gtest.h>
#include <modbus/modbus.h>
#include <string>
#include <thread>
#include <unistd.h>

class ModbusSlave {
  public:
    static constexpr int size = 64; // of each kind

    ModbusSlave()
    {
        const Bound bound(1);
        listener_ = bound.socket;
        where = "127.0.0.1:" + std::to_string(bound.port());
        memory = modbus_mapping_new(size, size, size, size);
        thread_ = std::thread(&ModbusSlave::serve, this);
    }

    ~ModbusSlave()
    {
        stop();
        modbus_mapping_free(memory);
    }

    // Ends its connection and takes no more.
    void stop()
    {
        shutdown(listener_, SHUT_RDWR);
        shutdown(client_, SHUT_RDWR);
        if (thread_.joinable()) thread_.join();
        close(std::exchange(listener_, -1));
    }

    std::string where; // HOST:PORT
    // Looked at only while no transaction is under way.
    modbus_mapping_t* memory;
    std::atomic<bool> mute = false; // reads requests and does not answer

  private:
    void serve()
    {
        modbus_t* context = modbus_new_tcp("127.0.0.1", 0);
        while ((client_ = accept(listener_, nullptr, nullptr)) >= 0) {
            modbus_set_socket(context, client_);
            uint8_t request[MODBUS_TCP_MAX_ADU_LENGTH];
            for (int length; (length = modbus_receive(context, request)) >= 0;)
                if (!mute) modbus_reply(context, request, length, memory);
            close(client_);
        }
        modbus_free(context);
    }

    int listener_;
    std::atomic<int> client_ = -1;
    std::thread thread_;
};
