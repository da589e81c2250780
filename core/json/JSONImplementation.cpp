// The one place where Boost.JSON's own sources are compiled.
#include <boost/json/src.hpp>
