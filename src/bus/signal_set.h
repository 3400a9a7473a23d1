#pragma once

#include <asio/basic_signal_set.hpp>
#include <asio/io_context.hpp>

namespace lumo {

// The stop signals of an I/O service. asio's own signal_set can serve every kind of executor, which
// takes several kilobytes more.
using SignalSet = asio::basic_signal_set<asio::io_context::executor_type>;

}  // namespace lumo
