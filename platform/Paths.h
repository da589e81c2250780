#pragma once

#include <string>

namespace velmora {

/// The folders of the user that the program knows. All absolute, without a trailing slash.
struct Paths {
    std::string home;
    std::string applicationSupport;  ///< where programs keep their data; ours is the folder "Velmora" in it
};

}  // namespace velmora
