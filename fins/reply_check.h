#ifndef VELKOR_FINS_REPLY_CHECK_H
#define VELKOR_FINS_REPLY_CHECK_H

enum ReplyCheck {
    CHECK_REJECTED = 0,
    CHECK_DATA = 1,      ///< a reply that carries data
    CHECK_NO_DATA = 2,   ///< a reply without data, or node numbers learnt
    CHECK_KEEP_FRAME = 3 ///< reserved: accepted, the frame stays queued; never produced
};

/// Judges a reply of `length` bytes against the frame at the head of the queue, which must not be
/// empty. Learns the node numbers when driver.nodeLearned is 0. May put a mode change at the head
/// of the queue (and then rejects).
int check_rcv_data(const unsigned char* reply, int length);

#endif
