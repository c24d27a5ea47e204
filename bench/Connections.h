#pragma once

namespace bench {

/// How many TCP connections this process has opened; over HTTPS, as many TLS handshakes.
int connectionsOpened();

}  // namespace bench
