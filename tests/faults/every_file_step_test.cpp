// Each write, flush, close and rename of each file that the programs write fails once: the old file
// is whole or the new one is, and a program that has not done its work ends with 1 and says so.

#include "endtoend/programs.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace {

const int ERRORS[] = {ENOSPC, EIO, EINTR};

class EveryFileStep : public Programs {
protected:
    EveryFileStep() { QDir(m_folder.path()).mkdir(QStringLiteral("out")); }

    /// A file in the folder whose files fail.
    QString out(const char* name) const {
        return m_folder.filePath(QStringLiteral("out/") + QLatin1String(name));
    }
    void putOut(const char* name, const QByteArray& content) const {
        QFile file(out(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }
    QByteArray content(const char* name) const {
        QFile file(out(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    QStringList filesOut() const {
        return QDir(m_folder.filePath(QStringLiteral("out"))).entryList(QDir::Files | QDir::Hidden);
    }
    QString note() const { return m_folder.filePath(QStringLiteral("failed")); }
    /// Since the last call.
    bool hasFailed() const { return QFile::remove(note()); }

    /// For /usr/bin/env and for a shell: the n-th such call fails.
    QStringList failing(const char* call, int number, int error) const {
        return {QStringLiteral("LD_PRELOAD=") + QStringLiteral(VELKOR_FILE_FAULTS),
                QStringLiteral("VELKOR_FAIL_CALL=") + QLatin1String(call),
                QStringLiteral("VELKOR_FAIL_NUMBER=%1").arg(number),
                QStringLiteral("VELKOR_FAIL_ERROR=%1").arg(error),
                QStringLiteral("VELKOR_FAIL_FOLDER=") + m_folder.filePath(QStringLiteral("out")),
                QStringLiteral("VELKOR_FAIL_NOTE=") + note(),
                QStringLiteral("ASAN_OPTIONS=verify_asan_link_order=0")};
    }

    /// Runs `once` with the first such call failing, then the second, until there is none.
    /// The result is how many there were.
    int eachFails(const char* call, const std::function<Ended(const QStringList& failing)>& once,
                  const std::function<void(const Ended&, int number)>& judge) {
        int calls = 0;
        for (const int error : ERRORS) {
            for (int number = 1;; ++number) {
                const Ended ended = once(failing(call, number, error));
                if (!hasFailed()) {
                    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
                    break;
                }
                SCOPED_TRACE(std::string(call) + ' ' + std::to_string(number) + ": " +
                             std::strerror(error));
                ++calls;
                judge(ended, number);
                if (HasFailure()) {
                    return calls;
                }
            }
        }
        return calls;
    }

    /// velkor-plc, until it has begun to listen and has been told to end.
    Ended plcUntilEnd(const QStringList& failing, const QStringList& arguments) {
        Running plc;
        plc.start(QStringLiteral("/usr/bin/env"),
                  failing +
                      QStringList{QStringLiteral(VELKOR_PLC_PROGRAM), QStringLiteral("--listen"),
                                  QStringLiteral("127.0.0.1:0")} +
                      arguments);
        plc.waitFor([&plc](const QString& said) {
            return said.contains(QLatin1String("listening")) || plc.hasEnded();
        });
        return plc.stop(SIGTERM);
    }

    /// velkor-plc with its trace in a file, asked once and told to end.
    Ended tracedPlc(const QStringList& failing, const QString& traceFile) {
        QFile::remove(traceFile);
        Running plc;
        plc.start(QStringLiteral("/bin/sh"),
                  QStringList{QStringLiteral("-c"),
                              QStringLiteral("trace=$1; shift; exec env \"$@\" >\"$trace\""),
                              QStringLiteral("sh"), traceFile} +
                      failing +
                      QStringList{QStringLiteral(VELKOR_PLC_PROGRAM), QStringLiteral("--listen"),
                                  QStringLiteral("127.0.0.1:0"), QStringLiteral("--trace")});
        QByteArray said;
        plc.waitFor([&](const QString&) {
            said = content("trace.txt");
            return said.contains('\n') || plc.hasEnded();
        });
        m_port = said.mid(said.indexOf("127.0.0.1:") + 10).trimmed().toUShort();
        if (!plc.hasEnded()) {
            panel({QStringLiteral("--timeout"), QStringLiteral("100"), QStringLiteral("read"),
                   QStringLiteral("DM"), QStringLiteral("1")});
        }
        return plc.stop(SIGTERM);
    }
};

/// Nobody knows then what of the file is on the disk. Qt synchronises once more, when there is
/// nothing left to do.
bool mustFail(const char* call, int number) {
    return std::strcmp(call, "fsync") == 0 && number == 1;
}

const QByteArray OLD = "name,values\na,7,8\n";
const QByteArray NEW = "name,values\na,0,0\n"; // of an empty PLC

TEST_F(EveryFileStep, recipeValues_oldOrNewIsWholeAndTheExitCodeSaysWhich) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address,count\na,DM,1,2\n");
    int calls = 0;
    for (const char* call : {"write", "fsync", "close", "rename"}) {
        calls += eachFails(
            call,
            [&](const QStringList& failing) {
                putOut("values.csv", OLD);
                return panelInShell(failing.join(QLatin1Char(' ')),
                                    {QStringLiteral("recipe"), QStringLiteral("upload"), recipe,
                                     QStringLiteral("--values"), out("values.csv")});
            },
            [&](const Ended& ended, int number) {
                EXPECT_EQ(filesOut(), QStringList(QStringLiteral("values.csv")));
                EXPECT_GE(ended.exitCode, mustFail(call, number) ? 1 : 0);
                EXPECT_EQ(content("values.csv"), ended.exitCode == 0 ? NEW : OLD);
                EXPECT_EQ(ended.exitCode == 1, ended.err.contains(QLatin1String("cannot write")))
                    << plain(ended.err);
            });
    }
    EXPECT_GE(calls, 4 * 3);
}

TEST_F(EveryFileStep, image_oldOrNewIsWholeAndTheExitCodeSaysWhich) {
    const QByteArray old = "# of yesterday\nDM 5: 1234\n";
    putOut("fresh.txt", old);
    ASSERT_EQ(plcUntilEnd({}, {QStringLiteral("--image"), out("fresh.txt")}).exitCode, 0);
    const QByteArray saved = content("fresh.txt");
    ASSERT_NE(saved, old);
    QFile::remove(out("fresh.txt"));
    int calls = 0;
    for (const char* call : {"write", "fsync", "close", "rename"}) {
        calls += eachFails(
            call,
            [&](const QStringList& failing) {
                putOut("image.txt", old);
                return plcUntilEnd(failing, {QStringLiteral("--image"), out("image.txt")});
            },
            [&](const Ended& ended, int number) {
                EXPECT_EQ(filesOut(), QStringList(QStringLiteral("image.txt")));
                EXPECT_GE(ended.exitCode, mustFail(call, number) ? 1 : 0);
                EXPECT_EQ(content("image.txt"), ended.exitCode == 0 ? saved : old);
                EXPECT_TRUE(ended.exitCode == 0 ||
                            (ended.out + ended.err).contains(QLatin1String("image")))
                    << plain(ended.out + ended.err);
            });
    }
    EXPECT_GE(calls, 4 * 3);
}

/// A capture grows as it is made. Where only its closing fails everything is on the disk already.
TEST_F(EveryFileStep, capture_notWholeIsToldAndTheExitCodeIsOne) {
    startPlc();
    const QStringList command{QStringLiteral("--pcap"), out("frames.pcap"),  QStringLiteral("read"),
                              QStringLiteral("DM"),     QStringLiteral("1"), QStringLiteral("2")};
    ASSERT_EQ(panel(command).exitCode, 0);
    const auto whole = content("frames.pcap").size();
    const auto capture = [&](const QStringList& failing) {
        QFile::remove(out("frames.pcap"));
        return panelInShell(failing.join(QLatin1Char(' ')), command);
    };
    int calls = 0;
    for (const char* call : {"fflush", "fsync"}) {
        calls += eachFails(call, capture, [&](const Ended& ended, int) {
            EXPECT_EQ(ended.exitCode, 1);
            EXPECT_TRUE(ended.err.contains(QLatin1String("frames.pcap"))) << plain(ended.err);
        });
    }
    EXPECT_EQ(calls, (3 + 1) * 3); // the head of the file, two datagrams, the end
    calls = eachFails("fclose", capture, [&](const Ended& ended, int) {
        EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
        EXPECT_EQ(content("frames.pcap").size(), whole);
    });
    EXPECT_EQ(calls, 1 * 3);
}

TEST_F(EveryFileStep, outputIntoAFile_notWholeIsToldAndTheExitCodeIsOne) {
    startPlc();
    int calls = 0;
    for (const char* call : {"write", "fflush"}) {
        calls += eachFails(
            call,
            [&](const QStringList& failing) {
                return panelInShell(failing.join(QLatin1Char(' ')),
                                    {QStringLiteral("--format"), QStringLiteral("csv"),
                                     QStringLiteral("read"), QStringLiteral("DM"),
                                     QStringLiteral("1"), QStringLiteral("2")},
                                    QStringLiteral(">") + out("values.csv"));
            },
            [&](const Ended& ended, int) {
                if (ended.exitCode == 0) { // an interrupted call is made again
                    EXPECT_EQ(content("values.csv").count('\n'), 3);
                    return;
                }
                EXPECT_EQ(ended.exitCode, 1);
                EXPECT_TRUE(ended.err.contains(QLatin1String("could not be written")))
                    << plain(ended.err);
            });
    }
    EXPECT_GE(calls, 1 * 3);
}

TEST_F(EveryFileStep, plcsTraceIntoAFile_notWholeIsToldAndTheExitCodeIsOne) {
    const QString traceFile = out("trace.txt");
    int calls = 0;
    for (const char* call : {"write", "fflush"}) {
        calls += eachFails(
            call, [&](const QStringList& failing) { return tracedPlc(failing, traceFile); },
            [&](const Ended& ended, int) {
                if (ended.exitCode == 0) { // nothing waited to be flushed
                    EXPECT_TRUE(content("trace.txt").contains("stopped: requests"));
                    return;
                }
                EXPECT_EQ(ended.exitCode, 1);
                EXPECT_TRUE(ended.out.contains(QLatin1String("standard output")))
                    << plain(ended.out);
            });
    }
    EXPECT_GE(calls, 4 * 3); // that it listens, a request, its reply, the last line
}

} // namespace
