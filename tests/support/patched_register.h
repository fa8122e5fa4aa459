#ifndef VELKOR_TESTS_SUPPORT_PATCHED_REGISTER_H
#define VELKOR_TESTS_SUPPORT_PATCHED_REGISTER_H

#include "driver/register_catalogue.h"

/// Replaces one ADDRESS_RANGE_FINS entry while it lives, for the rules that no entry of this
/// driver's table meets (a third kind of register, no access, a malformed entry). The table is
/// built at load, in writable memory; only its declaration is const.
class PatchedRegister {
public:
    PatchedRegister(int index, const char* entry)
        : entry_(const_cast<QString&>(ADDRESS_RANGE_FINS[index])), original_(entry_) {
        entry_ = QString::fromLatin1(entry);
    }
    ~PatchedRegister() { entry_ = original_; }
    PatchedRegister(const PatchedRegister&) = delete;
    PatchedRegister& operator=(const PatchedRegister&) = delete;

private:
    QString& entry_;
    const QString original_;
};

#endif
