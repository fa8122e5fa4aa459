#ifndef VELKOR_TESTS_MODEL_TELL_OBJECT_H
#define VELKOR_TESTS_MODEL_TELL_OBJECT_H

/// Enters records and whole driver objects in a journal, every field of them.

#include "contract/host_records.h"
#include "model/remembered.h"

namespace model {

inline void tell(Journal& journal, const host::Variable& variable) {
    journal.number("type", variable.type);
    journal.number("station", variable.station);
    journal.text("reg", variable.regName);
    journal.number("addr", variable.addr);
    journal.number("len", variable.len);
    journal.bytes("data", variable.data, sizeof variable.data);
}

inline void tell(Journal& journal, const host::KeyAddress& key) {
    journal.text("keyText", key.keyText);
    journal.number("keyValue", key.keyValue);
    journal.number("rcpOffset", key.rcpOffset);
    journal.number("station", key.station);
    journal.text("reg", key.regName);
    journal.text("keyText2", key.keyText2);
    journal.number("addr", key.addr);
    journal.number("countKind", key.countKind);
    journal.number("len", key.len);
    journal.bytes("data", key.data, sizeof key.data);
}

inline void tell(Journal& journal, const host::FramePro& frame) {
    journal.bytes("frame", frame.frame, sizeof frame.frame);
    journal.number("sendLen", frame.sendLen);
    journal.number("rcvLen", frame.rcvLen);
    journal.number("headLen", frame.headLen);
    journal.number("dataLen", frame.dataLen);
    journal.number("spare", frame.spare);
    tell(journal, frame.var);
}

inline void tell(Journal& journal, const host::DataRecord& record) {
    journal.number("flag", record.firstByteFlag);
    journal.number("writePending", record.writePending);
    journal.number("pendingBits", record.pendingBits);
    journal.number("wordMonitor", record.wordMonitor);
    journal.number("bitMonitor", record.bitMonitor);
    journal.number("station", record.station);
    journal.text("reg", record.regName);
    journal.number("wordAddr", record.wordAddr);
    journal.bytes("read", record.readValue, sizeof record.readValue);
    journal.bytes("written", record.writeValue, sizeof record.writeValue);
}

inline void tell(Journal& journal, const host::RecipeVariable& variable) {
    journal.number("hostTag", variable.hostTag);
    journal.number("station", variable.station);
    journal.text("reg", variable.regName);
    journal.number("addr", variable.addr);
    journal.number("len", variable.len);
    journal.number("rcpOffset", variable.rcpOffset);
    journal.number("spare", variable.spare);
}

inline void tell(Journal& journal, int value) {
    journal.number("value", value);
}

inline void tell(Journal& journal, const QString& value) {
    journal.text("text", value);
}

template <typename List> void tellList(Journal& journal, const char* name, const List& list) {
    journal.entry(name);
    journal.number("size", static_cast<long long>(list.size()));
    for (typename List::const_iterator it = list.begin(); it != list.end(); ++it) {
        journal.entry("   -");
        tell(journal, *it);
    }
}

/// The five property fields and the other numbers.
template <typename Object> void tellNumbers(Journal& journal, const Object& object) {
    journal.entry("  properties");
    journal.number("hostTag", object.hostTag);
    journal.number("writeDisabled", object.writeDisabled);
    journal.number("propertyItem2", object.propertyItem2);
    journal.number("retryLimit", object.retryLimit);
    journal.number("maxWordsPerFrame", object.maxWordsPerFrame);
    journal.entry("  numbers");
    journal.number("requestKind", object.requestKind);
    journal.number("requestCount", object.requestCount);
    journal.number("reserved22", object.reserved22);
    journal.number("badReplyCount", object.badReplyCount);
    journal.number("maxBitsPerFrame", object.maxBitsPerFrame);
    journal.number("wordsPerFrame", object.wordsPerFrame);
    journal.number("lastError", object.lastError);
    journal.number("reserved27", object.reserved27);
    journal.number("reserved28", object.reserved28);
    journal.number("rcpIndex", object.rcpIndex);
    journal.number("SID", object.SID);
    journal.number("reserved35", object.reserved35);
    journal.entry("  nodes");
    journal.number("nodeLearned", object.nodeLearned);
    journal.number("SNA", object.SNA);
    journal.number("SA1", object.SA1);
    journal.number("SA2", object.SA2);
    journal.number("DNA", object.DNA);
    journal.number("DA1", object.DA1);
    journal.number("DA2", object.DA2);
}

/// Enters an object, which is host::DriverObject or has its field names, but for its pointers.
class ObjectTeller {
public:
    template <typename Object> void tellWholeObject(Journal& journal, const Object& object) {
        tellNumbers(journal, object);
        reads_.tellList(journal, "  readList", object.readList);
        writes_.tellList(journal, "  writeList", object.writeList);
        conditionReads_.tellList(journal, "  conditionReadList", object.conditionReadList);
        words_.tellList(journal, "  dataAreaList", object.dataAreaList);
        tellList(journal, "  rcpVarVector", object.rcpVarVector);
        tellList(journal, "  rcpVector", object.rcpVector);
        tellList(journal, "  rcpBlockFirst", object.rcpBlockFirst);
        frames_.tellList(journal, "  frameQueue", object.frameQueue);
        journal.entry("  conditionKey");
        singles_.tellRecord(journal, 0, object.conditionKey);
        journal.entry("  currentVar");
        singles_.tellRecord(journal, 1, object.currentVar);
    }

private:
    Remembered<host::Variable> reads_;
    Remembered<host::Variable> writes_;
    Remembered<host::Variable> conditionReads_;
    Remembered<host::DataRecord> words_;
    Remembered<host::FramePro> frames_;
    Remembered<host::Variable> singles_;
};

} // namespace model

#endif
