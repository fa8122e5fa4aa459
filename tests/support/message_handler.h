#ifndef VELKOR_TESTS_SUPPORT_MESSAGE_HANDLER_H
#define VELKOR_TESTS_SUPPORT_MESSAGE_HANDLER_H

/// Qt's message handler, with one form for every Qt: Qt 5 renamed the function and gave the handler
/// other arguments.

#include <QtCore/QString>
#include <QtCore/QtGlobal>

/// `installMessageHandler(&handleMessage<take>)` hands the text of every message to `take`, and
/// `&ignoreMessage` to nobody; the result is the handler before, and nullptr stands for Qt's own.
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
typedef QtMsgHandler MessageHandler;
template <void (*take)(const QString&)> void handleMessage(QtMsgType, const char* text) {
    take(QString::fromLocal8Bit(text));
}
inline void ignoreMessage(QtMsgType, const char*) {}
inline MessageHandler installMessageHandler(MessageHandler handler) {
    return qInstallMsgHandler(handler);
}
#else
typedef QtMessageHandler MessageHandler;
template <void (*take)(const QString&)>
void handleMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    take(text);
}
inline void ignoreMessage(QtMsgType, const QMessageLogContext&, const QString&) {}
inline MessageHandler installMessageHandler(MessageHandler handler) {
    return qInstallMessageHandler(handler);
}
#endif

#endif
