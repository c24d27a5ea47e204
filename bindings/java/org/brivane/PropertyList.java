// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/**
 * The application's property list: BrivaneAPIKey, BrivaneAPISecret and
 * NSLocationAlwaysUsageDescription. {@code map::get} is one.
 */
public interface PropertyList {
  /** Null when there is none. */
  String get(String key);
}
