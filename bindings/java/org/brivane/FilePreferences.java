// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.io.File;
import java.io.FileInputStream;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.util.Properties;

/** Preferences in one file, replaced as a whole at each write. Any thread; one process. */
public final class FilePreferences implements Preferences {
  private final File file;
  private final Properties values = new Properties();

  /** Reads {@code file}; a missing one is an empty store, and so is its folder. */
  public FilePreferences(File file) throws IOException {
    this.file = file;
    if (!file.exists()) return;
    try (InputStream input = new FileInputStream(file)) {
      values.load(input);
    } catch (IllegalArgumentException e) {
      throw new IOException(file + " is damaged", e);
    }
  }

  @Override
  public String get(String key) {
    return values.getProperty(key);
  }

  @Override
  public void set(String key, String value) {
    values.setProperty(key, value);
  }

  @Override
  public synchronized boolean synchronize() {
    File folder = file.getAbsoluteFile().getParentFile();
    if (!folder.isDirectory() && !folder.mkdirs()) return false;
    File fresh = new File(folder, file.getName() + ".new");
    try (FileOutputStream output = new FileOutputStream(fresh)) {
      values.store(output, null);
      output.getFD().sync();
    } catch (IOException e) {
      return false;
    }
    return fresh.renameTo(file);
  }
}
