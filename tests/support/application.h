// An application connected to a virtual arm of its own.
#pragma once

#include "support/controller.h"

#include <memory>

struct Application {
    explicit Application(int arm_model = 46, std::vector<std::string> options = {"--speed", "10"})
        : model(arm_model)
    {
        options.insert(options.end(), {"--model", std::to_string(model)});
        controller = std::make_unique<Controller>(options);
        KX_API_Init(nullptr);
        arm = connect();
    }
    ~Application() { Arm_Socket_Close(arm); }

    int connect() const
    {
        const int sockfd = Arm_Socket_Start("127.0.0.1", controller->port(), model, 0);
        EXPECT_EQ(Arm_Sockrt_State(sockfd), 0);
        return sockfd;
    }
    std::vector<float> joints() const
    {
        std::vector<float> joint(7);
        EXPECT_EQ(Get_Joint_Degree(arm, joint.data()), 0);
        return joint;
    }
    // Waits until the arm has not moved for a moment, and gives where it stands.
    std::vector<float> standing() const
    {
        for (int i = 0; i < 100; ++i) {
            const auto before = joints();
            sleep_cp(100);
            if (joints() == before) return before;
        }
        ADD_FAILURE() << "the arm does not come to rest";
        return joints();
    }

    int model;
    std::unique_ptr<Controller> controller;
    int arm;
};
