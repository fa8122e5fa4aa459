#ifndef VELKOR_DRIVER_HOST_AREAS_H
#define VELKOR_DRIVER_HOST_AREAS_H

/// Every access to the memory areas that the host lends at intf_initProperty and every callback,
/// once each. Nothing else in the driver touches those bytes, the mutex or the callback, so "the
/// mutex is held for the byte access only, never across a callback or a frame build" holds by
/// construction.

#include <QtCore/QString>

struct RecipeRequests {
    bool download;
    bool upload;
};

/// Reads both recipe request bytes in one lock of the host's mutex; a request is active when its
/// byte is exactly 1.
RecipeRequests readRecipeRequests();

/// Writes 0 to a recipe request byte (HOST_RECIPE_DOWNLOAD_REQUEST or HOST_RECIPE_UPLOAD_REQUEST)
/// under the host's mutex.
void clearRecipeRequest(int hostByteOffset);

/// Writes the communication status (4, then 0) and announces both bytes. No lock is taken.
void reportCommunicationFailure();

/// Stores one word into the host's recipe buffer, low byte at the lower address, and announces it.
void storeRecipeWord(int wordIndex, unsigned char lowByte, unsigned char highByte);

/// Copies `byteCount` bytes from word `wordIndex` of the host's recipe buffer to `target`.
void copyFromRecipeBuffer(int wordIndex, int byteCount, unsigned char* target);

/// Tells the host that a value of its own changed: the callback with the driver's host tag. The
/// host gets a copy of the name, made before it is called, so this may be a record's own.
void notifyValueChange(int station, const QString& regName, int address);

/// Tells the host that the condition read queued last has ended; `status` 0 or -1.
void notifyConditionReadEnded(int status);

#endif
