#ifndef VELKOR_PANEL_PROCESS_OUTPUT_STREAM_H
#define VELKOR_PANEL_PROCESS_OUTPUT_STREAM_H

/// Standard output and standard error as streams of whole lines, UTF-8.

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QTextStream>

namespace panel {

/// How many bytes of `text` go into one write: whole lines, as many as a pipe takes all of or
/// nothing (PIPE_BUF), or one line that is longer than that; 0 where no line has ended.
int linesForOneWrite(const QByteArray& text);

/// A descriptor that takes lines. It is waited for as OutputWait says.
class LineDevice : public QIODevice {
public:
    explicit LineDevice(int descriptor) : m_descriptor(descriptor) {}

    /// Writes what stands behind the last line's end. False: it could not be; errorString() says
    /// why.
    bool finish();
    /// It takes nothing any more because its reader was given up: what it had not taken is lost.
    bool isGivenUp() const { return m_givenUp; }
    /// From now on it takes everything, and writes nothing.
    void drop() { m_drops = true; }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

private:
    bool write(const char* at, int size);

    const int m_descriptor;
    QByteArray m_waiting; ///< for the end of its line
    bool m_givenUp = false;
    bool m_drops = false;
};

/// What is flushed is written up to the last line's end; the rest when the line ends, or the
/// stream.
class OutputStream : public QTextStream {
public:
    explicit OutputStream(int descriptor);
    ~OutputStream() override;
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Writes all that is left; the status says whether anything was lost.
    void finish();
    /// If the reader was given up: what it has not taken is not missed, nor what comes now.
    void forgive();

private:
    LineDevice m_device;
};

} // namespace panel

#endif
