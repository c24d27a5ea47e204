// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A fault in the application's configuration; no manager was made. */
public final class BVException extends RuntimeException {
  private static final long serialVersionUID = 1L;

  /** Which: "BVAPICredentialsNotFound" or "BVCoreLocationAuthError". */
  public final String name;

  BVException(String name, String reason) {
    super(reason);
    this.name = name;
  }
}
