// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.util.Map;
import java.util.concurrent.atomic.AtomicBoolean;

/** Sends requests to the web service over HTTPS. */
public interface HTTPClient {
  /** One request. */
  final class Request {
    public final String url;
    public final String method;

    /** To be sent as they stand. */
    public final Map<String, String> headers;

    public final byte[] body;

    Request(String url, String method, Map<String, String> headers, byte[] body) {
      this.url = url;
      this.method = method;
      this.headers = headers;
      this.body = body;
    }
  }

  /** A request that waits for its answer. Any thread; the first answer counts. */
  final class Completion {
    private final long handle;
    private final AtomicBoolean isDone = new AtomicBoolean();

    Completion(long handle) {
      this.handle = handle;
    }

    /** With the status of the reply, whichever it is, and its body. */
    public void complete(int status, byte[] body) {
      if (!isDone.getAndSet(true)) Bridge.complete(handle, status, body);
    }

    /** The transport failed, whatever the reason. */
    public void fail() {
      if (!isDone.getAndSet(true)) Bridge.complete(handle, 0, null);
    }
  }

  /**
   * Sends {@code request} and answers {@code completion} once, also on failure; an exception counts
   * as one. Any thread, several at once, tens in a burst. Returns at once.
   */
  void execute(Request request, Completion completion);
}
