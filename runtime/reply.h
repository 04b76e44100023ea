// Reading a reply: a chain of steps, each of which decodes one member or records why it cannot. After the
// first fault the remaining steps do nothing, so outputs decoded before it stay written.
//
//     reply.object("arm_state").pose("pose", *pose).integer("arm_err", *arm_err).code()
#ifndef KX_RUNTIME_REPLY_H
#define KX_RUNTIME_REPLY_H

#include "kx/types.h"

#include <cjson/cJSON.h>
#include <limits.h>
#include <string.h>
#include <utility>

namespace kx {

// Status codes of an array member that is no array, or that has not the expected number of items.
struct ArrayFaults {
    int not_an_array = KX_WRONG_TYPE;
    int wrong_length = KX_WRONG_TYPE;
};

constexpr int any_type = -1;

// How many items an array must have, or may have: an open array has as many as the controller sends. A
// classic connection hands them all on; a link refuses more than the caller was told to have room for.
struct ArrayLength {
    int items;
    bool is_open = false;
};
constexpr ArrayLength exactly(int items)
{
    return {items};
}
constexpr ArrayLength up_to(int items)
{
    return {items, true};
}
constexpr ArrayLength any_length = up_to(INT_MAX);

// Copies a text, cut to what fits.
template <size_t capacity>
void copy_cut(char (&out)[capacity], const char* text)
{
    const size_t length = strnlen(text, capacity - 1);
    memcpy(out, text, length);
    memset(out + length, 0, capacity - length);
}

class Reply {
  public:
    enum From { classic, link };

    // What was received, or a null tree if it was no JSON.
    Reply(cJSON* tree, From from)
        : root_(tree), scope_(tree), code_(tree ? KX_SUCCESS : KX_BAD_REPLY), from_(from)
    {
    }
    explicit Reply(const char* text) : Reply(cJSON_Parse(text), classic) {}

    // No reply came, for this reason.
    static Reply none(int status)
    {
        Reply reply(nullptr, classic);
        reply.code_ = status;
        reply.came_ = false;
        return reply;
    }
    Reply(Reply&& other) noexcept
        : root_(std::exchange(other.root_, nullptr)), scope_(other.scope_), code_(other.code_),
          came_(other.came_), from_(other.from_)
    {
    }
    Reply& operator=(Reply&&) = delete;
    ~Reply() { cJSON_Delete(root_); }

    bool came() const { return came_; }
    const cJSON* tree() const { return root_; }
    int code() const { return code_; }

    // Ends a chain: 0 for true, 1 for false, `otherwise` for another type.
    int boolean(const char* key, int otherwise = KX_WRONG_TYPE);

    // Goes into a member that is an object.
    Reply& object(const char* key);

    // A number's integer part, cut to the width of the output. With any_type, true counts as 1 and whatever
    // else is no number as 0. `missing` is the status when there is no such member.
    template <class Integer>
    Reply& integer(const char* key, Integer& out, int type = cJSON_Number, int missing = KX_BAD_REPLY)
    {
        if (const cJSON* number = member(key, type, KX_WRONG_TYPE, missing))
            out = static_cast<Integer>(number->valueint);
        return *this;
    }

    // A number's integer part as a fraction of `unit`.
    Reply& scaled(const char* key, float& out, float unit)
    {
        if (const cJSON* number = member(key, cJSON_Number))
            out = static_cast<float>(number->valueint) / unit;
        return *this;
    }

    // An array: store(i, integer part of item i) for every item.
    template <class Store>
    Reply& array(const char* key, ArrayLength length, ArrayFaults faults, Store store)
    {
        const cJSON* items = member(key, cJSON_Array, faults.not_an_array);
        if (!items) return *this;
        const int size = cJSON_GetArraySize(items);
        if (length.is_open ? from_ == link && size > length.items : size != length.items)
            return fail(faults.wrong_length);
        int i = 0;
        for (const cJSON* item = items->child; item; item = item->next)
            store(i++, item->valueint);
        return *this;
    }

    Reply& pose(const char* key, POSE& out);

    // A string, which lives as long as the reply; null after a fault.
    const char* string(const char* key);

    // A string, cut to what fits into the output.
    template <size_t capacity>
    Reply& text(const char* key, char (&out)[capacity])
    {
        if (const char* found = string(key)) copy_cut(out, found);
        return *this;
    }

    // An array of strings: store(i, string i) for every item up to the string `end`; nothing is stored when
    // one of them is no string.
    template <class Store>
    Reply& strings(const char* key, const char* end, ArrayLength length, Store store)
    {
        const cJSON* items = member(key, cJSON_Array);
        if (!items) return *this;
        const cJSON* last = items->child;
        int count = 0;
        for (; last; last = last->next, ++count) {
            if (!cJSON_IsString(last)) return fail(KX_WRONG_TYPE);
            if (strcmp(last->valuestring, end) == 0) break;
        }
        if (from_ == link && count > length.items) return fail(KX_WRONG_TYPE);
        int i = 0;
        for (const cJSON* item = items->child; item != last; item = item->next)
            store(i++, item->valuestring);
        return *this;
    }

    // A look at a member of any type, for replies that come in two shapes: null when it is missing, which is
    // no fault, and after a fault.
    const cJSON* find(const char* key) const;

  private:
    // The member of that type or any, or null with the fault recorded.
    const cJSON* member(const char* key, int type, int wrong_type = KX_WRONG_TYPE,
                        int missing = KX_BAD_REPLY);
    Reply& fail(int code);

    cJSON* root_;
    const cJSON* scope_; // the object in which members are looked up
    int code_;
    bool came_ = true;
    From from_;
};

// Ways to store array items.
template <class Number>
auto plain(Number* out)
{
    return [out](int i, int value) { out[i] = static_cast<Number>(value); };
}
inline auto thousandths(float* out)
{
    return [out](int i, int value) { out[i] = static_cast<float>(value) / 1000.0f; };
}
inline void ignored(int, int) {}

// Decoders that many commands share.
inline auto boolean_state(const char* key)
{
    return [key](Reply& reply) { return reply.boolean(key); };
}
inline auto parameter_set(const char* key)
{
    return [key](Reply& reply) { return reply.boolean(key, KX_NOT_BOOLEAN); };
}
inline int number_reply(Reply& reply, unsigned char* out)
{
    return reply.integer("IO_state", *out).code();
}
int millivolt_reply(Reply& reply, unsigned char* volts);

} // namespace kx

#endif
