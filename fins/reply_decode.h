#ifndef VELKOR_FINS_REPLY_DECODE_H
#define VELKOR_FINS_REPLY_DECODE_H

#include "driver/records.h"

#include <QtCore/QByteArray>

/// Stores the words of an accepted data reply into the cache, telling the host of changes.
void storeReplyWords(const FRAME_PRO& frame, const QByteArray& reply);

/// Copies the words of an accepted recipe upload into the host's recipe buffer, each variable at
/// its own offset, telling the host of each word. Words outside the reply's data are left out.
void storeUploadedRecipe(const FRAME_PRO& frame, const QByteArray& reply);

#endif
