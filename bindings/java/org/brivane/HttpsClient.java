// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.io.ByteArrayOutputStream;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.net.URL;
import java.security.GeneralSecurityException;
import java.security.KeyStore;
import java.security.cert.Certificate;
import java.security.cert.CertificateFactory;
import java.util.Map;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import javax.net.ssl.HttpsURLConnection;
import javax.net.ssl.SSLContext;
import javax.net.ssl.SSLSocketFactory;
import javax.net.ssl.TrustManagerFactory;

/**
 * HTTPS over HttpsURLConnection: connections kept alive, at most six at once, certificates always
 * checked, no redirect followed. A transfer fails when it brings no byte for 60 seconds, and when
 * its reply exceeds 10 MiB. Any thread.
 */
public final class HttpsClient implements HTTPClient {
  /** How each transfer ended, just before its reply is used, on a thread of the client's. */
  public interface TransferListener {
    /**
     * @param endpoint the path of the URL
     * @param status that of the reply; 0 when there was none
     * @param fault why there was none; null when there was
     */
    void transferred(String endpoint, int status, String fault);
  }

  private static final int MOST_AT_ONCE = 6;
  private static final int PATIENCE = 60_000; // milliseconds
  private static final int MOST_BYTES = 10 << 20;

  private final ExecutorService threads =
      Executors.newFixedThreadPool(
          MOST_AT_ONCE,
          task -> {
            Thread thread = new Thread(task, "brivane-https");
            thread.setDaemon(true);
            return thread;
          });
  private final TransferListener listener;
  private String address = null;
  private SSLSocketFactory sockets = null;

  /** {@code listener} may be null. */
  public HttpsClient(TransferListener listener) {
    this.listener = listener;
  }

  /**
   * For development: connects to "HOST:PORT" in place of the service. Its certificate, which must be
   * among those in the PEM file, must name that host.
   */
  public static HttpsClient connectedTo(String address, File trusted, TransferListener listener)
      throws IOException, GeneralSecurityException {
    HttpsClient client = new HttpsClient(listener);
    client.address = address;
    client.sockets = trusting(trusted).getSocketFactory();
    return client;
  }

  @Override
  public void execute(Request request, Completion completion) {
    threads.execute(() -> transfer(request, completion));
  }

  private void transfer(Request request, Completion completion) {
    int status = 0;
    byte[] body = null;
    String endpoint = request.url;
    String fault = null;
    try {
      URL url = new URL(request.url);
      endpoint = url.getPath();
      if (address != null) url = new URL("https://" + address + url.getFile());
      HttpsURLConnection connection = (HttpsURLConnection) url.openConnection();
      send(request, connection);
      status = connection.getResponseCode();
      body = read(status < 400 ? connection.getInputStream() : connection.getErrorStream());
    } catch (IOException | RuntimeException e) {
      status = 0;
      fault = e.toString();
    }
    try {
      if (listener != null) listener.transferred(endpoint, status, fault);
    } finally {
      if (fault == null) completion.complete(status, body);
      else completion.fail();
    }
  }

  private void send(Request request, HttpsURLConnection connection) throws IOException {
    if (sockets != null) connection.setSSLSocketFactory(sockets);
    connection.setConnectTimeout(PATIENCE);
    connection.setReadTimeout(PATIENCE);
    connection.setInstanceFollowRedirects(false);
    connection.setUseCaches(false);
    connection.setRequestMethod(request.method);
    for (Map.Entry<String, String> header : request.headers.entrySet()) {
      connection.setRequestProperty(header.getKey(), header.getValue());
    }
    connection.setDoOutput(true);
    try (OutputStream output = connection.getOutputStream()) {
      output.write(request.body);
    }
  }

  private static byte[] read(InputStream from) throws IOException {
    ByteArrayOutputStream all = new ByteArrayOutputStream();
    if (from == null) return all.toByteArray();
    try (InputStream input = from) {
      byte[] part = new byte[8192];
      for (int count; (count = input.read(part)) >= 0; ) {
        all.write(part, 0, count);
        if (all.size() > MOST_BYTES) throw new IOException("the reply exceeds 10 MiB");
      }
    }
    return all.toByteArray();
  }

  private static SSLContext trusting(File file) throws IOException, GeneralSecurityException {
    KeyStore store = KeyStore.getInstance(KeyStore.getDefaultType());
    store.load(null, null);
    try (InputStream input = new FileInputStream(file)) {
      for (Certificate each : CertificateFactory.getInstance("X.509").generateCertificates(input)) {
        store.setCertificateEntry("trusted" + store.size(), each);
      }
    }
    TrustManagerFactory managers =
        TrustManagerFactory.getInstance(TrustManagerFactory.getDefaultAlgorithm());
    managers.init(store);
    SSLContext context = SSLContext.getInstance("TLS");
    context.init(null, managers.getTrustManagers(), null);
    return context;
  }
}
