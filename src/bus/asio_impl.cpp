// The one translation unit that holds asio's own code; every other one only declares it.
#include <asio/impl/src.hpp>
