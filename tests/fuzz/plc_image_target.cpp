// Images of the PLC's memory as texts of any kind; what is taken can be written and read again.

#include "fuzz/input.h"
#include "plc/image.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::uint16_t mark = 0x5A5A;
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    plc::Memory memory;
    memory.setWord(plc::Area::Em0, 7, mark);
    const std::optional<plc::ImageError> error = plc::readImage(text, memory);
    if (error) {
        require(error->line >= 1 && !error->message.empty(), "a refusal says where and why");
        require(memory.word(plc::Area::Em0, 7) == mark, "a refused image changes nothing");
        return 0;
    }
    const std::string written = plc::imageText(memory);
    plc::Memory again;
    require(!plc::readImage(written, again), "what is written can be read");
    require(plc::imageText(again) == written, "and says the same");
    return 0;
}
