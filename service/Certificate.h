// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

struct ssl_ctx_st;

namespace service {

struct Certificate {
  std::string certificatePEM;
  std::string keyPEM;
};

/// A new self-signed certificate for `hostName` and 127.0.0.1, that is its own authority: a client
/// trusts it by trusting this one file. Both times count from now and may be negative.
Certificate makeCertificate(const std::string& hostName, std::chrono::seconds validFrom,
                            std::chrono::seconds validTo);

/// Whether `certificatePEM` is a certificate for `hostName` that is valid for another `margin`.
bool isValidFor(const std::string& certificatePEM, const std::string& hostName,
                std::chrono::seconds margin);

/// Has a server present `certificate`, over TLS 1.2 at least; false when it cannot be used.
bool useCertificate(ssl_ctx_st& context, const Certificate& certificate);

/// The public key of a certificate, PEM.
std::string publicKeyPEM(const std::string& certificatePEM);

}  // namespace service
