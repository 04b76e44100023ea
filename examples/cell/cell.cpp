// A palletising cell: takes parts from a feeder and puts them onto a pallet, 3 by 4. Output 1 asks the feeder for a part
// and output 2 for an empty pallet; inputs 1 and 2 say that it is there. Whatever goes wrong on the way, a refusal, an
// emergency stop, a lost link, the arm goes up and on with the part that it was at.
//
//     cell PORT [PALLETS]
//
// of a controller of model 46, e.g. kx-controller --object 40 --script feeder.txt
#include "cell/places.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr int part = 1, pallet = 2; // channels that ask, and answer
constexpr int emergency_stop = 1;   // as an error of the controller

class Cell {
  public:
    explicit Cell(int port) : arm_("127.0.0.1", port, 46, {.reconnect = true})
    {
        arm_.move_joints(cell::ready, {50}).wait();
        arm_.gripper.open();
        here_ = arm_.state().pose;
    }

    void fill_pallet()
    {
        request(pallet);
        for (placed_ = 0; placed_ < cell::rows * cell::columns;)
            try {
                if (hand_ == Hand::empty) take();
                put();
            } catch (const kx::Error& error) {
                recover(error);
            }
        arm_.io.set_output(pallet, false);
        std::printf("pallet full\n");
    }

    void report() const
    {
        std::printf("went on after %d refusals, %d emergency stops, %d lost links\n", refusals_, stops_,
                    losses_);
    }

  private:
    enum class Hand { empty, closing, full, opening };

    void take()
    {
        arm_.io.set_output(part, true);
        carry_to(cell::feeder);
        request(part);
        hand_ = Hand::closing;
        arm_.gripper.pick(30, 100);
        hand_ = Hand::full;
        arm_.io.set_output(part, false);
    }

    void put()
    {
        carry_to(cell::on_pallet(placed_));
        hand_ = Hand::opening;
        arm_.gripper.open(100);
        hand_ = Hand::empty;
        std::printf("part %d is in place\n", ++placed_);
    }

    // Up, over and down, without coming to rest in between. Each motion's end is asked for, so that none can be missed.
    void carry_to(const kx::Pose& place)
    {
        const auto up = arm_.move_line(cell::above(here_), {100, cell::radius});
        const auto over = arm_.move_line(cell::above(place), {100, cell::radius});
        const auto down = arm_.move_line(place, {100});
        up.wait();
        over.wait();
        down.wait();
        here_ = place;
    }

    void request(int channel)
    {
        arm_.io.set_output(channel, true);
        until([&] { return arm_.io.input(channel); }, "nothing comes");
    }

    static void until(const std::function<bool()>& holds, const char* otherwise)
    {
        for (const auto end = kx::Time::clock::now() + 60s; !holds(); std::this_thread::sleep_for(5ms))
            if (kx::Time::clock::now() > end) throw std::runtime_error(otherwise);
    }

    // Leaves the arm standing above where it was, without error, and with nothing or a whole part in the gripper.
    void recover(const kx::Error& error)
    {
        std::printf("%s\n", error.what());
        bool was_lost = error.status() == KX_LOST || error.status() == KX_SEND_FAILED, was_stopped = false;
        until(
            [&] {
                try {
                    arm_.wait_until_ready(20s);
                    if (arm_.state().controller_error == emergency_stop) was_stopped = true;
                    arm_.system.clear_error(); // refused as long as somebody holds the button
                    arm_.stop();               // what is left of the motions
                    until([&] { return arm_.motion_kind() == None_Mode; }, "the arm does not stop");
                    if (hand_ != Hand::full) {
                        arm_.gripper.open();
                        if (hand_ == Hand::opening) ++placed_;
                        hand_ = Hand::empty;
                    }
                    here_ = arm_.state().pose;
                    arm_.move_line(cell::above(here_), {20}).wait();
                    return true;
                } catch (const kx::Error& again) {
                    was_lost |= again.status() == KX_LOST || again.status() == KX_SEND_FAILED;
                    return false;
                }
            },
            "the arm does not recover");
        ++(was_lost ? losses_ : was_stopped ? stops_ : refusals_);
    }

    kx::Arm arm_;
    kx::Pose here_; // above which the arm may go up
    Hand hand_ = Hand::empty;
    int placed_ = 0;
    int refusals_ = 0, stops_ = 0, losses_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: cell PORT [PALLETS]\n");
        return 2;
    }
    try {
        Cell cell(std::atoi(argv[1]));
        for (int pallets = argc > 2 ? std::atoi(argv[2]) : 1; pallets > 0; --pallets)
            cell.fill_pallet();
        cell.report();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
