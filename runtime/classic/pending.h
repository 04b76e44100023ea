// The pending list: who waits for which reply on which descriptor, in order of registration.
//
// Application threads add and remove entries under the library mutex. The receiver thread reads the list and
// stores replies without it, so every member is atomic; a reply's text is complete before its received flag
// says so.
#ifndef KX_RUNTIME_CLASSIC_PENDING_H
#define KX_RUNTIME_CLASSIC_PENDING_H

#include "kx/types.h"
#include "runtime/line.h"
#include "runtime/recognition.h"

#include <atomic>

namespace kx {

constexpr int pending_capacity = 300;

enum Waiter { push_registration = 0, waiting_caller = 1 };

struct Pending {
    std::atomic<int> descriptor;
    std::atomic<char> text[line_capacity]; // the reply, zero-terminated
    std::atomic<int> key;                  // the reply awaited
    std::atomic<int> received;             // 1 once `text` holds the reply
    std::atomic<int> waiting;              // a Waiter
};

// Appends an entry and returns its index, or -1 when the list is full.
int add_pending(int sockfd, KeyCode key, Waiter waiter);

void remove_pending(int index);

// Removes the waiting entries of a descriptor and key code. The entry that moves into a freed place is passed
// over.
void remove_waiting(int sockfd, KeyCode key);

// Index of the first waiting entry of a descriptor and key code that has its reply, or -1.
int find_answered(int sockfd, KeyCode key);

void store_reply(Pending& entry, const char* line); // by the receiver thread
Line stored_reply(int index);

} // namespace kx

KX_API kx::Pending SockeRIinfos[kx::pending_capacity];
KX_API std::atomic<int> m_nSockeRIinfosLen;

// Fills the entry at `index`, without a check of the index and without counting it. Returns 0.
KX_API int Add_List(kx::Pending* list, int index, int descriptor, int key, int received, int waiting);

// Removes one entry by moving the later ones down; takes the library mutex. A list of one is emptied whatever
// the index, and its entry is left with the waiting flag set; an index outside a longer list does nothing.
KX_API void ClearList(kx::Pending* list, std::atomic<int>* count, int index);

#endif
