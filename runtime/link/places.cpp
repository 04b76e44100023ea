#include "runtime/link/places.h"

#include <stdlib.h>
#include <string.h>

namespace kx::link {

bool Places::make_room()
{
    if (!places_) places_ = static_cast<Place*>(malloc(sizeof(Place) * capacity));
    return places_ != nullptr;
}

void Places::free_room()
{
    free(places_);
    places_ = nullptr;
}

void Places::erase(int index)
{
    --size_;
    memmove(places_ + index, places_ + index + 1, sizeof(Place) * static_cast<size_t>(size_ - index));
}

bool Places::answer(KeyCode kind, Time now, Place& taken, bool& is_uncertain)
{
    int found = 0;
    while (found < size_ && places_[found].kind != kind)
        ++found;
    if (found == size_) return false;
    taken = places_[found];
    erase(found);
    const bool is_late = taken.owner == Place::given_up || now > taken.deadline;
    is_uncertain = false;
    for (int i = found; i < size_; ++i) {
        if (places_[i].kind != kind || !(is_late || taken.is_robbed)) continue;
        is_uncertain = places_[i].is_robbed = true;
    }
    return true;
}

int Places::find(uint64_t serial) const
{
    int index = size_ - 1;
    while (index >= 0 && places_[index].serial != serial)
        --index;
    return index;
}

bool Places::take_back(uint64_t serial, Place& taken)
{
    const int index = find(serial);
    if (index < 0) return false;
    taken = places_[index];
    erase(index);
    return true;
}

void Places::give_up(uint64_t serial)
{
    const int index = find(serial);
    if (index < 0) return;
    Place& place = places_[index];
    place.owner = Place::given_up;
    place.call = nullptr;
}

void Places::end_motions(uint64_t stop, Time soon)
{
    for (int i = 0; i < size_; ++i) {
        Place& place = places_[i];
        if (place.serial < stop && nature_of(place.kind) == Nature::motion && place.kept > soon)
            place.kept = soon;
    }
}

// Who asks again and again looks at the time itself.
static bool may_expire(Place::Owner owner)
{
    return owner != Place::caller && owner != Place::subscription;
}

void Places::expire(Time now)
{
    for (int i = size_ - 1; i >= 0; --i)
        if (may_expire(places_[i].owner) && now > places_[i].kept) erase(i);
}

Time Places::barred_until(KeyCode kind) const
{
    Time oldest_kept = 0; // of one that is given up
    for (int i = 0; i < size_; ++i) {
        const Place& place = places_[i];
        if (place.kind != kind) continue;
        // A stop may have shortened for how long it is kept, but not for how long its caller waits.
        if (place.is_robbed)
            return may_expire(place.owner) || place.kept > place.deadline ? place.kept : place.deadline;
        if (place.owner != Place::given_up && oldest_kept > 0) return oldest_kept;
        if (place.owner == Place::given_up && oldest_kept == 0) oldest_kept = place.kept;
    }
    return 0;
}

Time Places::kept_until(uint64_t serial) const
{
    const int index = find(serial);
    return index < 0 ? 0 : places_[index].kept;
}

bool Places::has(Place::Owner owner) const
{
    for (int i = 0; i < size_; ++i)
        if (places_[i].owner == owner) return true;
    return false;
}

} // namespace kx::link
