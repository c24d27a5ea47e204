// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.lang.ref.PhantomReference;
import java.lang.ref.ReferenceQueue;
import java.util.Collections;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.LongConsumer;

/**
 * What an object of this package owns in the native library. It goes when it is closed, or when its
 * owner has been collected, but never under a call that uses it.
 */
final class Handle extends PhantomReference<Object> {
  /** Uses a handle; may call the application. */
  interface Use<Result> {
    Result of(long handle);
  }

  private static final ReferenceQueue<Object> collected = new ReferenceQueue<>();
  private static final Set<Handle> open = Collections.newSetFromMap(new ConcurrentHashMap<>());

  static {
    Thread reaper = new Thread(Handle::reap, "brivane-reaper");
    reaper.setDaemon(true);
    reaper.start();
  }

  private final long handle;
  private final LongConsumer destroy;
  private int uses = 0;
  private boolean closed = false;

  Handle(Object owner, long handle, LongConsumer destroy) {
    super(owner, collected);
    this.handle = handle;
    this.destroy = destroy;
    open.add(this);
  }

  <Result> Result use(Use<Result> use) {
    synchronized (this) {
      if (closed) throw new IllegalStateException("it is closed");
      ++uses;
    }
    try {
      return use.of(handle);
    } finally {
      leave();
    }
  }

  void close() {
    synchronized (this) {
      if (closed) return;
      closed = true;
      ++uses;
    }
    leave();
  }

  private void leave() {
    synchronized (this) {
      if (--uses > 0 || !closed) return;
    }
    open.remove(this);
    destroy.accept(handle);
  }

  private static void reap() {
    for (; ; ) {
      try {
        ((Handle) collected.remove()).close();
      } catch (InterruptedException e) {
        // Nobody has a reason to: it goes on.
      }
    }
  }
}
