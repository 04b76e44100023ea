// Lift and mobile base.
#include <cmath>

#include "commands/command.h"

namespace kx::sim {

namespace {

int height(const Call& call)
{
    return integer(call["height"], "the height", 0, Lift::top);
}

int lift_speed(const Call& call)
{
    return integer(call["speed"], "the speed", 1, Lift::max_speed);
}

int station(const Call& call, const char* key)
{
    return integer(call[key], "the station", 1, Base::stations);
}

void drive(const Call& call, const char* speed_key, const char* angular_key)
{
    const int speed = integer(call[speed_key], "the speed", -Base::max_speed, Base::max_speed);
    call.peripherals.base.drive(speed, integer(call[angular_key], "the angular speed",
                                               -Base::max_angular_speed, Base::max_angular_speed));
}

constexpr Command lift_and_base_table[] = {
    {"set_vehicle", "set_state", [](Call& call) { drive(call, "speed", "angular"); }},
    {"set_car_move", "set_state", [](Call& call) { drive(call, "linear_speed", "angular_speed"); }},
    {"set_lift ", "set_state", // with the blank
     [](Call& call) { call.peripherals.lift.go(height(call), lift_speed(call), {}); }},
    {"set_lift_speed", "set_state",
     [](Call& call) {
         call.peripherals.lift.run(integer(call["speed"], "the speed", -Lift::max_speed, Lift::max_speed));
     }},
    motion("set_lift_height",
           [](Call& call) { call.peripherals.lift.go(height(call), lift_speed(call), call.completion()); }),
    {"get_lift_state", "",
     [](Call& call) -> Json {
         const Lift& lift = call.peripherals.lift;
         return {{"height", std::lround(lift.height())}, {"current", lift.current()}, {"err_flag", 0}};
     }},
    {"set_car_speed", "navigation_state", // goes to a station
     [](Call& call) {
         call.peripherals.base.go_to_station(station(call, "station"),
                                             integer(call["speed"], "the speed", 0, Base::max_speed));
     }},
    {"set_car_navigation_speed", "navigation_state",
     [](Call& call) {
         call.peripherals.base.navigation_speed = integer(call["speed"], "the speed", 1, Base::max_speed);
     }},
    {"set_car_navigation_mode", "navigation_state",
     [](Call& call) { call.peripherals.base.navigation_mode = integer(call["mode"], "the mode", 0, 1); }},
    {"get_car_state", "",
     [](Call& call) -> Json {
         const Base& base = call.peripherals.base;
         return {{"battery_volume", std::lround(base.charge() * 100)},
                 {"voltage", std::lround(base.voltage() * 1000)},
                 {"current", std::lround(base.current() * 1000)},
                 {"car_err", 0},
                 {"car_state", static_cast<int>(base.state())},
                 {"station_num", base.station()}};
     }},
    {"set_car_charge", "navigation_state",
     [](Call& call) {
         call.peripherals.base.set_charging(integer(call["charge_state"], "the state", 0, 1) == 1);
     }},
    {"set_car_station_num", "navigation_state",
     [](Call& call) { call.peripherals.base.set_station(station(call, "station_num")); }},
};

} // namespace

std::span<const Command> lift_and_base_commands()
{
    return lift_and_base_table;
}

} // namespace kx::sim
