// The colours of pictures.
#pragma once

namespace workstation::evidence::plotting::colour {

// Those of Okabe and Ito, which people who see colours differently tell apart, and darker ones for
// neighbours.
constexpr char const* black = "0x000000";
constexpr char const* white = "0xFFFFFF";
constexpr char const* blue = "0x0072B2";
constexpr char const* darkBlue = "0x00507D";
constexpr char const* green = "0x007A59";
constexpr char const* orange = "0xE69F00";
constexpr char const* vermillion = "0xD55E00";
constexpr char const* purple = "0xCC79A7";
constexpr char const* grey = "0x737373";
constexpr char const* darkGrey = "0x595959";
constexpr char const* pale = "0xB0B0B0";

} // namespace workstation::evidence::plotting::colour
