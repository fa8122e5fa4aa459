#ifndef VELKOR_TESTS_HOST_LINE_NOTICE_FIXTURE_H
#define VELKOR_TESTS_HOST_LINE_NOTICE_FIXTURE_H

/// A line, and what it can be listened to for.

#include "host/line_fixture.h"

#include <functional>
#include <memory>

namespace line_notice_fixture {

using namespace velkor_host;

enum class Kind { Tags, Pending, Scan, Write, Read, Recipe, Progress, Request };
inline const Kind KINDS[] = {Kind::Tags, Kind::Pending, Kind::Scan,     Kind::Write,
                             Kind::Read, Kind::Recipe,  Kind::Progress, Kind::Request};

inline RecipeVariable variable(int address, const Items& words) {
    RecipeVariable out;
    out.reg = QStringLiteral("DM");
    out.address = address;
    out.count = static_cast<int>(words.size());
    out.words = words;
    return out;
}

class LineNotice : public LineFixture {
protected:
    LineNotice() : line(std::make_unique<Line>(settings())) {}

    void open() { ASSERT_EQ(line->open().toStdString(), ""); }

    /// Has `act` called in every notice of this kind.
    void on(Kind kind, const std::function<void()>& act) const {
        switch (kind) {
        case Kind::Tags:
            line->onTags = [act](const QVector<int>&) { act(); };
            return;
        case Kind::Pending:
            line->onPending = [act](const QVector<int>&) { act(); };
            return;
        case Kind::Scan:
            line->onScan = act;
            return;
        case Kind::Write:
            line->onWrite = [act](const WriteOutcome&) { act(); };
            return;
        case Kind::Read:
            line->onRead = [act](const ReadOutcome&) { act(); };
            return;
        case Kind::Recipe:
            line->onRecipe = [act](const RecipeOutcome&) { act(); };
            return;
        case Kind::Progress:
            line->onRecipeProgress = [act](const RecipeProgress&) { act(); };
            return;
        case Kind::Request:
            line->onRequest = [act](const RequestEnd&) { act(); };
            return;
        }
    }

    /// Gives the line something of every kind to tell.
    void everything() const {
        EXPECT_EQ(line->setTags({wordTag(100), wordTag(300)}).toStdString(), "");
        EXPECT_NE(line->write("DM", 100, {1}), 0U);
        EXPECT_NE(line->read("DM", 100, 1), 0U);
        EXPECT_NE(line->download({variable(500, {1, 2})}), 0U);
        EXPECT_NE(line->write("DM", 101, {1}), 0U);
        EXPECT_NE(line->upload({variable(500, {0, 0})}), 0U);
    }

    std::unique_ptr<Line> line;
};

} // namespace line_notice_fixture

#endif
