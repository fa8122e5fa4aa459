#ifndef VELKOR_PANEL_CONTEXT_OPEN_LINES_H
#define VELKOR_PANEL_CONTEXT_OPEN_LINES_H

/// The lines to the PLCs of the command line, with trace and capture.

#include "panel/context/context.h"

#include <velkor/host/line.h>
#include <velkor/host/witness.h>

#include <memory>
#include <vector>

namespace panel {

/// What the panel's options are called in advice.
const SettingNames& optionNames();

struct PlcLine {
    QString name; ///< as in --plc NAME=HOST; empty for the one PLC without a name
    std::unique_ptr<Trace> trace;
    std::unique_ptr<FrameWitness> capture;
    std::unique_ptr<Line> line; ///< open; goes before its witnesses
};

class OpenLines {
public:
    /// Finds the PLCs' addresses and opens a line to each. On a fault `exitCode` is not EXIT_DONE
    /// and standard error has been told.
    explicit OpenLines(const Context& context);
    ~OpenLines();
    OpenLines(const OpenLines&) = delete;
    OpenLines& operator=(const OpenLines&) = delete;

    int exitCode() const { return m_exitCode; }
    /// When all is done, with the command's exit code. If the capture could not be written whole,
    /// standard error is told, and what would have been EXIT_DONE is EXIT_WORK_FAILED.
    int close(int exitCode);
    bool captureIsWhole() const { return m_capture->fault().isEmpty(); }

    int size() const { return static_cast<int>(m_lines.size()); }
    PlcLine& at(int index) { return m_lines[static_cast<std::size_t>(index)]; }
    const PlcLine& at(int index) const { return m_lines[static_cast<std::size_t>(index)]; }
    /// The line of a command that takes one PLC.
    Line& only() { return *m_lines.front().line; }

private:
    int open();
    int openLine(const PlcOption& plc);

    const Context& m_context;
    int m_exitCode = EXIT_DONE;
    std::unique_ptr<CaptureFile> m_capture = std::make_unique<CaptureFile>();
    std::vector<PlcLine> m_lines;
};

} // namespace panel

#endif
