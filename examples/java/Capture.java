// SPDX-License-Identifier: Apache-2.0
import java.io.BufferedInputStream;
import java.io.DataInputStream;
import java.io.EOFException;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** The advertisements of a recorded walk (btsnoop), in place of a radio. */
final class Capture {
  static final class Frame {
    /** Microseconds from the first. */
    final long time;

    final int company;
    final byte[] data;
    final int rssi;

    Frame(long time, int company, byte[] data, int rssi) {
      this.time = time;
      this.company = company;
      this.data = data;
      this.rssi = rssi;
    }
  }

  private static final int HEADER = 16;

  private Capture() {}

  static List<Frame> read(File file) throws IOException {
    List<Frame> frames = new ArrayList<>();
    try (DataInputStream input =
        new DataInputStream(new BufferedInputStream(new FileInputStream(file)))) {
      byte[] header = new byte[HEADER];
      input.readFully(header);
      if (!new String(header, 0, 7, "US-ASCII").equals("btsnoop")) {
        throw new IOException(file + " is no btsnoop capture");
      }
      long first = -1;
      for (; ; ) {
        input.readInt();
        byte[] packet = new byte[input.readInt()];
        input.readLong();
        long time = input.readLong();
        input.readFully(packet);
        if (first < 0) first = time;
        addReport(packet, time - first, frames);
      }
    } catch (EOFException e) {
      return frames;
    }
  }

  /** The manufacturer's part of a legacy LE advertising report; anything else is passed over. */
  private static void addReport(byte[] packet, long time, List<Frame> frames) {
    int at = packet.length > 0 && packet[0] == 0x04 ? 1 : 0; // as a phone writes it
    if (packet.length < at + 14 || packet[at] != 0x3e || packet[at + 2] != 0x02) return;
    int end = at + 13 + packet[at + 12];
    if (end >= packet.length) return;
    for (int part = at + 13; part + 3 < end && packet[part] > 0; part += packet[part] + 1) {
      if (packet[part + 1] != (byte) 0xff) continue;
      int company = packet[part + 2] & 0xff | (packet[part + 3] & 0xff) << 8;
      byte[] data = Arrays.copyOfRange(packet, part + 4, part + 1 + packet[part]);
      frames.add(new Frame(time, company, data, packet[end]));
    }
  }
}
