#ifndef VELKOR_FINS_REQUEST_FINISH_H
#define VELKOR_FINS_REQUEST_FINISH_H

/// Closes the request in flight, by its kind and driver.lastError: settles and drops a write,
/// reports and drops a condition read, rotates the cyclic reads, advances or ends a recipe.
void dealListWhenFinish();

/// Gives the request in flight up: marks the error, writes and announces the communication status,
/// empties the frame queue and closes the request. The one path of every failure.
void failRequest();

#endif
