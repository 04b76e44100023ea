// Where the application's targets lead: a cubic through those that are known. As long as more may follow, it goes
// on behind the last one as it came there.
#ifndef KX_STREAMING_COURSE_H
#define KX_STREAMING_COURSE_H

#include "streaming/motion.h"

namespace kx::streaming {

// A target at its time on the path, s.
struct Knot {
    double time;
    Joints joint;
};

// Knots stand in a ring that the course does not own; those that were passed make room for new ones.
class Course {
  public:
    Course(int joints, Knot* ring, int capacity) : joints_(joints), ring_(ring), capacity_(capacity) {}

    bool empty() const { return count_ == 0; }
    int room() const { return capacity_ - count_; }
    void clear() { count_ = 0, ends_ = false; }
    void fill() { count_ = capacity_, ends_ = true; } // the ring holds a whole course
    void finish() { ends_ = true; }                   // no more follow: it rests at the last one
    void add(const Knot& knot);                       // after the last one; there must be room
    const Knot& first() const { return knot(0); }
    const Knot& last() const { return knot(count_ - 1); }
    double end() const { return empty() ? 0 : last().time; }

    // Forgets what is not needed for times from here on.
    void pass(double time);

    // Not when empty. Before the first knot it stands there.
    void at(double time, ArmState& state) const;

  private:
    const Knot& knot(int i) const { return ring_[(first_ + i) % capacity_]; }
    double slope(int i, int joint) const;
    double tangent(int i, int joint) const;

    int joints_;
    Knot* ring_;
    int capacity_, first_ = 0, count_ = 0;
    bool ends_ = false;
};

} // namespace kx::streaming

#endif
