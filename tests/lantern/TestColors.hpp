#pragma once

#include <Bedrock/Color.hpp>

#include <QRect>

/// Colours and the area that most drawing tests draw with.
namespace LanternTest
{
inline const Bedrock::Color kRed{1.f, 0.f, 0.f, 1.f};
inline const Bedrock::Color kBlue{0.f, 0.f, 1.f, 1.f};
inline const Bedrock::Color kWhite{1.f, 1.f, 1.f, 1.f};
inline constexpr QRect kArea(0, 0, 120, 100); ///< pixels
}
