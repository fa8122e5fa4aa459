#ifndef VELKOR_TESTS_MODEL_LOADED_LIBRARY_H
#define VELKOR_TESTS_MODEL_LOADED_LIBRARY_H

/// The library's file, loaded for as long as this lives. Each object starts with a fresh driver, so
/// there may be one at a time.

#include "model/driver.h"
#include "model/tell_object.h"

#include <string>

namespace model {

class LoadedLibrary : public Driver {
public:
    /// Ends the program with a message when the file cannot be loaded, lacks a name, or is still
    /// loaded from before.
    explicit LoadedLibrary(const std::string& file);
    ~LoadedLibrary() override;
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    int initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe, int* out,
                     const char* text, QMutex* mutex) override;
    void setAddrValueChangeCallBack(host::Callback function) override;
    void getProtocolType(int* out) override;
    void getDriverParameter(QString& out) override;
    void getDriverPropertyPage(QString& out) override;
    void setDriverPropertyPage(const QString& page) override;
    int getRegListByType(int type, QList<QString>& out) override;
    int getRegDiscription(const QString& name, QList<QString>& out) override;
    int checkAddrValidity(const QString& name, const QString& text, int* out, int count,
                          int wordExpected) override;
    int checkAddr(const QString& name, const QString& text, int* out, int countKind, int count,
                  int access) override;
    int addConditionRead(const host::KeyAddress& key, int type) override;
    int addrMerge(QList<host::KeyAddress>& keys) override;
    int setRcpAddress(const QVector<host::RecipeVariable>& variables) override;
    unsigned int getSendFrame(host::FramePro& out) override;
    unsigned int dealRcvFrame(QByteArray* reply, QString* message) override;
    int getData(int station, const QString& name, int addr, int count, unsigned char* out) override;
    int setData(int station, const QString& name, int addr, int count, unsigned char* data,
                int type) override;
    int multiCopy(const QString& name, int start, int count, int step, QVector<QString>& texts,
                  QVector<int>& values) override;
    void connectToServer() override;
    void byteDataChange(unsigned char* before, unsigned char* after, int station,
                        const QString& name, int addr) override;

    void setNodeLearned(unsigned char learned) override { object_->nodeLearned = learned; }
    void setSid(unsigned char sid) override { object_->SID = sid; }
    unsigned char sid() const override { return object_->SID; }
    int wordsPerFrame() const override { return object_->wordsPerFrame; }
    int maxBitsPerFrame() const override { return object_->maxBitsPerFrame; }
    bool isBound() const override { return object_->hostMutex != nullptr; }
    void tellObject(Journal& journal) override;
    host::Callback callback() const override { return object_->addrValueChangeCallBack; }
    const unsigned char* hostBlock() const override { return object_->hostBlock; }
    const unsigned char* hostStatusBlock() const override { return object_->hostStatusBlock; }
    const unsigned short* hostRecipeBuffer() const override { return object_->hostRecipeBuffer; }
    const QMutex* hostMutex() const override { return object_->hostMutex; }

private:
    template <typename Function> void resolve(const char* name, Function& to);
    void resolveAll();

    void* handle_;
    host::Entries intf_;
    host::DriverObject* object_;
    ObjectTeller teller_;
};

} // namespace model

#endif
