// A driver that hands everything on to the real one and notes which ranges its host asks for, in
// the file that VELKOR_SPY_NOTES names.

#include <velkor/host_interface.h>

#include <QtCore/QByteArray>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace {

template <typename Function> Function real(const char* name) {
    static void* const library = dlopen(VELKOR_LIBRARY, RTLD_NOW);
    return reinterpret_cast<Function>(dlsym(library, name));
}

std::FILE* notes() {
    static std::FILE* const file = std::fopen(std::getenv("VELKOR_SPY_NOTES"), "w");
    return file;
}

void note(const char* what, int station, const QString& reg, int address, int length) {
    std::fprintf(notes(), "%s station %d %s %d %d\n", what, station, qPrintable(reg), address,
                 length);
    std::fflush(notes());
}

/// Binding empties the driver's lists: what was handed over before it counts no more.
void forgetNotes() {
    std::rewind(notes());
    if (ftruncate(fileno(notes()), 0) != 0) {
        std::abort();
    }
}

} // namespace

#define REAL(name) real<decltype(&(name))>(#name)

int intf_initProperty(unsigned char* hostBlock, unsigned char* statusBlock,
                      unsigned short* recipeBuffer, int* out, const char* propertyString,
                      QMutex* mutex) {
    forgetNotes();
    return REAL(intf_initProperty)(hostBlock, statusBlock, recipeBuffer, out, propertyString,
                                   mutex);
}

void intf_setAddrValueChangeCallBack(AddrValueChangeCallBack callback) {
    REAL(intf_setAddrValueChangeCallBack)(callback);
}

void intf_getDriverParameter(QString& out) {
    REAL(intf_getDriverParameter)(out);
}

void intf_SetDriverPropertyPage(const QString& page) {
    REAL(intf_SetDriverPropertyPage)(page);
}

int intf_getRegListByType(int type, QList<QString>& out) {
    return REAL(intf_getRegListByType)(type, out);
}

int intf_getRegDiscription(const QString& regName, QList<QString>& out) {
    return REAL(intf_getRegDiscription)(regName, out);
}

int intf_checkAddrValidity(const QString& regName, const QString& addrText, int* out, int count,
                           int wordExpected) {
    return REAL(intf_checkAddrValidity)(regName, addrText, out, count, wordExpected);
}

int intf_addConditionRead(KEY_ADDRESS key, int type) {
    note("read", key.station, key.regName, key.addr, key.len);
    return REAL(intf_addConditionRead)(key, type);
}

int intf_addrMerge(QList<KEY_ADDRESS>& keys) {
    for (const KEY_ADDRESS& key : keys) {
        note("poll", key.station, key.regName, key.addr, key.len);
    }
    return REAL(intf_addrMerge)(keys);
}

int intf_setRcpAddress(const QVector<_RCP_VAR_PRO>& variables) {
    for (const _RCP_VAR_PRO& variable : variables) {
        note("recipe", variable.station, variable.regName, variable.addr, variable.len);
    }
    return REAL(intf_setRcpAddress)(variables);
}

unsigned int intf_getSendFrame(FRAME_PRO& out) {
    return REAL(intf_getSendFrame)(out);
}

unsigned int intf_dealRcvFrame(QByteArray* reply, QString* message) {
    return REAL(intf_dealRcvFrame)(reply, message);
}

int intf_getData(int station, QString regName, int addr, int count, unsigned char* buf) {
    return REAL(intf_getData)(station, regName, addr, count, buf);
}

int intf_setData(int station, QString regName, int addr, int count, unsigned char* data, int tag) {
    note("write", station, regName, addr, count);
    return REAL(intf_setData)(station, regName, addr, count, data, tag);
}

int intf_multiCopy(QString regName, int start, int count, int step, QVector<QString>& texts,
                   QVector<int>& values) {
    return REAL(intf_multiCopy)(regName, start, count, step, texts, values);
}
