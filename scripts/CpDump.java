// Prints what one of the JDK's charsets makes of single bytes and of
// lead+trail byte pairs, in the format of scripts/cpdump.cpp, for
// scripts/gen_cptables.py:
//   java CpDump <charset> singles | pairs
import java.nio.ByteBuffer;
import java.nio.CharBuffer;
import java.nio.charset.CharacterCodingException;
import java.nio.charset.Charset;
import java.nio.charset.CharsetDecoder;
import java.nio.charset.CodingErrorAction;

public class CpDump {
  private static String value(CharsetDecoder decoder, byte[] bytes) {
    try {
      decoder.reset();
      CharBuffer out = decoder.decode(ByteBuffer.wrap(bytes));
      if (out.length() == 0) return "-";
      if (out.length() > 1 || Character.isSurrogate(out.charAt(0))) return "+";
      return String.format("%04X", (int) out.charAt(0));
    } catch (CharacterCodingException e) {
      return "-";
    }
  }

  public static void main(String[] args) {
    if (args.length != 2) {
      System.err.println("usage: java CpDump <charset> singles|pairs");
      System.exit(1);
    }
    CharsetDecoder decoder;
    try {
      decoder = Charset.forName(args[0]).newDecoder()
          .onMalformedInput(CodingErrorAction.REPORT)
          .onUnmappableCharacter(CodingErrorAction.REPORT);
    } catch (IllegalArgumentException e) {
      System.err.println("CpDump: " + args[0] + " is not installed");
      System.exit(2);
      return;
    }
    StringBuilder text = new StringBuilder();
    if (args[1].equals("singles")) {
      for (int b = 0; b < 256; ++b) text.append(' ').append(value(decoder, new byte[] {(byte) b}));
      text.append('\n');
    } else if (args[1].equals("pairs")) {
      for (int lead = 0; lead < 256; ++lead) {
        text.append(String.format("%02X", lead));
        for (int trail = 0; trail < 256; ++trail) {
          text.append(' ').append(value(decoder, new byte[] {(byte) lead, (byte) trail}));
        }
        text.append('\n');
      }
    } else {
      System.err.println("CpDump: unknown request " + args[1]);
      System.exit(1);
    }
    System.out.print(text);
  }
}
