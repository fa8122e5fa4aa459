#ifndef VELKOR_HOST_EXPORT_H
#define VELKOR_HOST_EXPORT_H

/// What the shared library shows; everything else in it is hidden.
#if defined(__GNUC__)
#define VELKOR_HOST_EXPORT __attribute__((visibility("default")))
#else
#define VELKOR_HOST_EXPORT
#endif

#endif
