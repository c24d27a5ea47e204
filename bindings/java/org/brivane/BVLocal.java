// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A place. Texts are null where the service sent none. */
public final class BVLocal {
  public final String name;

  /** Never filled from a reply. */
  public final String uuid;

  public final String city;
  public final String category;
  public final String address;
  public final String phone;
  public final String web;
  public final String email;

  /** The postal code as a number; 0 where the service sent none. */
  public final long zip;

  BVLocal(Texts texts, long zip) {
    name = texts.next();
    uuid = texts.next();
    city = texts.next();
    category = texts.next();
    address = texts.next();
    phone = texts.next();
    web = texts.next();
    email = texts.next();
    this.zip = zip;
  }
}
