// The one place where Boost.URL's own sources are compiled.
#include <boost/url/src.hpp>
