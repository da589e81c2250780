// The one place where Asio's own sources are compiled (BOOST_ASIO_SEPARATE_COMPILATION).
#include <boost/asio/impl/src.hpp>
