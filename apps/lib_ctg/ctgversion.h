// The version of the tool and its core. The only place that states it: CMakeLists.txt reads this
// line.
#pragma once

constexpr char INTERNAL_VERSION[] = "J-01-32";
