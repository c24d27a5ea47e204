// SPDX-License-Identifier: Apache-2.0
#include "service/Certificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <memory>
#include <stdexcept>

namespace service {
namespace {

struct Free {
  void operator()(BIO* bio) const { BIO_free(bio); }
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
using Bio = std::unique_ptr<BIO, Free>;
using Key = std::unique_ptr<EVP_PKEY, Free>;
using X509Certificate = std::unique_ptr<X509, Free>;

void require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("OpenSSL cannot make the certificate");
}

template <typename Write>
std::string toPEM(Write write) {
  const Bio bio(BIO_new(BIO_s_mem()));
  require(write(bio.get()) == 1);
  char* text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

X509Certificate fromPEM(const std::string& pem) {
  const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  return X509Certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
}

void addExtension(X509* certificate, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, Free> extension(
      X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void setSerial(X509* certificate) {
  unsigned char random[8] = {};
  require(RAND_bytes(random, sizeof random) == 1);
  std::uint64_t serial = 0;
  for (const unsigned char byte : random) serial = serial << 8U | byte;
  require(ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1U) == 1);
}

void setName(X509* certificate, const std::string& hostName) {
  X509_NAME* const name = X509_get_subject_name(certificate);
  const auto* const text = reinterpret_cast<const unsigned char*>(hostName.c_str());
  require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0) == 1);
  require(X509_set_issuer_name(certificate, name) == 1);
}

}  // namespace

Certificate makeCertificate(const std::string& hostName, std::chrono::seconds validFrom,
                            std::chrono::seconds validTo) {
  const Key key(EVP_EC_gen("P-256"));
  const X509Certificate certificate(X509_new());
  require(key && certificate);
  X509* const x509 = certificate.get();
  X509_set_version(x509, X509_VERSION_3);
  setSerial(x509);
  setName(x509, hostName);
  X509_gmtime_adj(X509_getm_notBefore(x509), validFrom.count());
  X509_gmtime_adj(X509_getm_notAfter(x509), validTo.count());
  require(X509_set_pubkey(x509, key.get()) == 1);
  addExtension(x509, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(x509, NID_subject_alt_name, "DNS:" + hostName + ",IP:127.0.0.1");
  addExtension(x509, NID_subject_key_identifier, "hash");
  require(X509_sign(x509, key.get(), EVP_sha256()) != 0);
  const auto writeKey = [&key](BIO* bio) {
    return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  };
  return {toPEM([x509](BIO* bio) { return PEM_write_bio_X509(bio, x509); }), toPEM(writeKey)};
}

bool isValidFor(const std::string& certificatePEM, const std::string& hostName,
                std::chrono::seconds margin) {
  const X509Certificate certificate = fromPEM(certificatePEM);
  if (!certificate) return false;
  std::time_t end = std::time(nullptr) + margin.count();
  return X509_check_host(certificate.get(), hostName.c_str(), 0, 0, nullptr) == 1 &&
         X509_cmp_time(X509_get0_notAfter(certificate.get()), &end) > 0 &&
         X509_cmp_current_time(X509_get0_notBefore(certificate.get())) < 0;
}

bool useCertificate(SSL_CTX& context, const Certificate& certificate) {
  const X509Certificate x509 = fromPEM(certificate.certificatePEM);
  const std::string& pem = certificate.keyPEM;
  const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  const Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
  SSL_CTX_set_min_proto_version(&context, TLS1_2_VERSION);
  return SSL_CTX_use_certificate(&context, x509.get()) == 1 &&
         SSL_CTX_use_PrivateKey(&context, key.get()) == 1;
}

std::string publicKeyPEM(const std::string& certificatePEM) {
  const X509Certificate certificate = fromPEM(certificatePEM);
  require(certificate != nullptr);
  EVP_PKEY* const key = X509_get0_pubkey(certificate.get());
  return toPEM([key](BIO* bio) { return PEM_write_bio_PUBKEY(bio, key); });
}

}  // namespace service
