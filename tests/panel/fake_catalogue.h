#ifndef VELKOR_TESTS_PANEL_FAKE_CATALOGUE_H
#define VELKOR_TESTS_PANEL_FAKE_CATALOGUE_H

#include <velkor/host/registers.h>

#include <QtCore/QStringList>

/// Two registers with the address syntax of the driver, typed in anew: DM 0 to 32767 and CIO_bit
/// 0.0 to 6143.15; and HR 0 to 1535 so that there is a second word register.
class FakeCatalogue : public velkor_host::Catalogue {
public:
    FakeCatalogue() {
        m_registers = {{"CIO_bit", "ddddd.DD (DD:0~15)", "0.0", "6143.15", true, "1"},
                       {"HR", "dddd", "0", "1535", false, "1"},
                       {"DM", "ddddd", "0", "32767", false, "1"}};
    }

protected:
    int checkAddress(const velkor_host::RegisterInfo& info, const QString& text, int count,
                     int* address) const override {
        bool ok = false;
        *address = number(info, text, &ok);
        bool limitOk = false;
        if (!ok) {
            return 4;
        }
        return *address < 0 || *address + count > number(info, info.highest, &limitOk) + 1 ? 2 : 0;
    }

private:
    static int number(const velkor_host::RegisterInfo& info, const QString& text, bool* ok) {
        if (!info.bit) {
            return text.toInt(ok);
        }
        const QStringList parts = text.split('.');
        if (parts.size() != 2) {
            *ok = false;
            return 0;
        }
        bool wordOk = false;
        const int word = parts.at(0).toInt(&wordOk);
        const int bit = parts.at(1).toInt(ok);
        *ok = *ok && wordOk && bit < 16;
        return word * 16 + bit;
    }
};

#endif
