#include "panel/service_ids.h"

namespace panel {

void useUpServiceIds(const DriverApi& api, int count, const std::function<void()>& bind) {
    bind();
    KEY_ADDRESS key = KEY_ADDRESS();
    key.regName = QStringLiteral("DM");
    key.len = 1;
    for (int used = 0; used < count; ++used) {
        FRAME_PRO frame;
        api.addConditionRead(key, 0);
        api.getSendFrame(frame);
        bind();
    }
}

} // namespace panel
