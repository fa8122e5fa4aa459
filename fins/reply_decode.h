#ifndef VELKOR_FINS_REPLY_DECODE_H
#define VELKOR_FINS_REPLY_DECODE_H

#include <QtCore/QString>

/// The words that an accepted data reply brought, and where in the PLC they stand. Refers to
/// nothing of the driver's: it lives on while the host is called.
struct ReplyWords {
    int station;
    QString regName;
    int addr;                  ///< of the first word
    int count;                 ///< may be negative: no words
    const unsigned char* data; ///< each word high byte first
};

/// Stores the words into the cache, telling the host of changes.
void storeReplyWords(const ReplyWords& words);

/// Copies the words of an accepted recipe upload into the host's recipe buffer, each variable at
/// its own offset, telling the host of each word. Words outside the reply's data are left out.
void storeUploadedRecipe(const ReplyWords& words);

#endif
