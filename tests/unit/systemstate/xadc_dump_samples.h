#pragma once

#include <cstddef>
#include <string>

namespace systemstate {

// A register dump as a frame gives it, 33 registers of 8 bytes, and edits of it.

// Temperature A8F0, supply 5550, dedicated input 1230; channel n reads n * 256 + 128 (of 4096),
// channel 13 reads D80.
inline const std::string kDump =
    "00:a8f0\n"
    "01:5550\n"
    "02:9990\n"
    "03:1230\n"
    "04:0000\n"
    "05:0000\n"
    "06:5550\n"
    "07:0000\n"
    "08:0000\n"
    "09:0000\n"
    "0a:0000\n"
    "0b:0000\n"
    "0c:0000\n"
    "0d:5550\n"
    "0e:9990\n"
    "0f:5550\n"
    "10:0800\n"
    "11:1800\n"
    "12:2800\n"
    "13:3800\n"
    "14:4800\n"
    "15:5800\n"
    "16:6800\n"
    "17:7800\n"
    "18:8800\n"
    "19:9800\n"
    "1a:a800\n"
    "1b:b800\n"
    "1c:c800\n"
    "1d:d800\n"
    "1e:e800\n"
    "1f:f800\n"
    "20:a8f0\n";

inline constexpr std::size_t kTemperatureAt = 3;
inline constexpr std::size_t kSupplyAt = 11;
inline constexpr std::size_t kDedicatedInputAt = 27;
inline constexpr std::size_t kChannel0At = 131;
inline constexpr std::size_t kChannel8At = 195;
inline constexpr std::size_t kChannel13At = 235;
inline constexpr std::size_t kChannel15At = 251;

// kDump with `text` written over it from byte `offset` on.
inline std::string dumpWith(std::size_t offset, const std::string& text) {
    return std::string(kDump).replace(offset, text.size(), text);
}

// A register's five bytes, up to the next register, with this text and line feeds behind it.
inline std::string registerText(std::string text) {
    text.resize(5, '\n');
    return text;
}

}  // namespace systemstate
