#ifndef VELKOR_TESTS_SCREEN_FAKE_MODEL_H
#define VELKOR_TESTS_SCREEN_FAKE_MODEL_H

/// Tags and PLCs as a test wants them, on a clock of the test's own.

#include "panel/screen/screen_model.h"

#include <vector>

struct FakeTag {
    panel::screen::TagLabel label;
    panel::screen::TagNow status;
    panel::screen::TagTexts texts;
};

class FakeModel : public panel::screen::ScreenModel {
public:
    QString title() const override { return m_title; }
    int tagCount() const override { return static_cast<int>(m_tags.size()); }
    panel::screen::TagLabel label(int tag) const override {
        return m_tags.at(static_cast<std::size_t>(tag)).label;
    }
    panel::screen::TagNow status(int tag) const override {
        return m_tags.at(static_cast<std::size_t>(tag)).status;
    }
    panel::screen::TagTexts texts(int tag) const override {
        return m_tags.at(static_cast<std::size_t>(tag)).texts;
    }
    QVector<panel::screen::PlcStatus> plcs() const override { return m_plcs; }
    qint64 now() const override { return m_now; }

    QString startWrite(int tag, const QString& typed, bool force) override {
        m_written = QString("%1=%2%3").arg(m_tags.at(static_cast<std::size_t>(tag)).label.name,
                                           typed, force ? " forced" : "");
        return m_refusal;
    }

    /// A fresh tag with the value of its index.
    FakeTag& add(const QString& name) {
        FakeTag tag;
        const int index = tagCount();
        tag.label = {"P1", name, QString("DM %1").arg(index), "uint16", {}, {}};
        tag.status.state = panel::screen::TagState::Fresh;
        tag.status.readAt = m_now;
        tag.status.number = index;
        tag.texts.value = QString::number(index);
        m_tags.push_back(tag);
        return m_tags.back();
    }

    panel::screen::PlcStatus& addPlc(const QString& name) {
        panel::screen::PlcStatus plc;
        plc.name = name;
        plc.endpoint = "127.0.0.1:9600";
        plc.lastEndCode = "0000 normal";
        plc.lastEndCodeAt = m_now;
        m_plcs.append(plc);
        return m_plcs.last();
    }

    QString m_title = "127.0.0.1:9600  tags, scan 200 ms";
    std::vector<FakeTag> m_tags;
    QVector<panel::screen::PlcStatus> m_plcs;
    qint64 m_now = 1000000000;
    QString m_written; ///< what startWrite() was told
    QString m_refusal; ///< what it answers
};

#endif
