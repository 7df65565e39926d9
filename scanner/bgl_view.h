// A bounds-checked little-endian view over a whole BGL file held in memory.
// Every read checks its offset against the buffer before touching it, so a
// file whose sizes, counts or offsets lie can never be read past its end: the
// read throws std::out_of_range instead, which ends the reading of that file.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orv {

class BglView {
public:
    explicit BglView(std::string_view BYTES) : bytes(BYTES) {}

    [[nodiscard]] std::size_t size() const { return bytes.size(); }
    /// WIDTH bytes at OFFSET lie inside the buffer (no overflow for any OFFSET).
    [[nodiscard]] bool holds(std::uint64_t OFFSET, std::uint64_t WIDTH) const
    {
        return OFFSET <= bytes.size() && WIDTH <= bytes.size() - OFFSET;
    }

    [[nodiscard]] std::uint8_t u8(std::uint64_t OFFSET) const { return static_cast<std::uint8_t>(lf_at(OFFSET, 1)[0]); }
    [[nodiscard]] std::uint16_t u16(std::uint64_t OFFSET) const
    {
        const char* p = lf_at(OFFSET, 2);
        return static_cast<std::uint16_t>(lf_byte(p, 0) | lf_byte(p, 1) << 8);
    }
    [[nodiscard]] std::uint32_t u32(std::uint64_t OFFSET) const
    {
        const char* p = lf_at(OFFSET, 4);
        return lf_byte(p, 0) | lf_byte(p, 1) << 8 | lf_byte(p, 2) << 16 | lf_byte(p, 3) << 24;
    }
    [[nodiscard]] std::int32_t i32(std::uint64_t OFFSET) const { return static_cast<std::int32_t>(u32(OFFSET)); }
    [[nodiscard]] float f32(std::uint64_t OFFSET) const
    {
        const std::uint32_t bits = u32(OFFSET);
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

private:
    static std::uint32_t lf_byte(const char* P, int I) { return static_cast<std::uint8_t>(P[I]); }
    const char* lf_at(std::uint64_t OFFSET, std::uint64_t WIDTH) const
    {
        if (!holds(OFFSET, WIDTH))
            throw std::out_of_range("read of " + std::to_string(WIDTH) + " bytes at " + std::to_string(OFFSET) +
                                    " past the end (" + std::to_string(bytes.size()) + " bytes)");
        return bytes.data() + OFFSET;
    }

    std::string_view bytes;
};

} // namespace orv
