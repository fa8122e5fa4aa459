#ifndef VELKOR_TESTS_SUPPORT_STUCK_PIPE_H
#define VELKOR_TESTS_SUPPORT_STUCK_PIPE_H

/// Output that nobody takes.

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Whether the program waits inside a write into that file; waits until it does. False: it does not
/// come to that.
bool waitUntilStuck(qint64 pid, const QString& path);
/// As it is now: what it writes goes on nowhere for some time.
bool isStuck(qint64 pid, const QString& path);

/// A named pipe with an end to read that nobody reads; it takes no more than a page.
class StuckPipe {
public:
    enum Content { Empty, Full };
    /// Throws when it cannot be made, which ends the test: nothing after it could hold.
    StuckPipe(const QString& path, Content content);
    ~StuckPipe();
    StuckPipe(const StuckPipe&) = delete;
    StuckPipe& operator=(const StuckPipe&) = delete;

    const QString& path() const { return m_path; }
    /// All that it holds.
    QByteArray take() const;

private:
    const QString m_path;
    int m_descriptor = -1;
};

#endif
