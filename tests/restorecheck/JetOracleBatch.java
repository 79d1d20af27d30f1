// Runs many jet-oracle commands in one Java process: one command a line on standard input,
// arguments separated by tabs; for each, a line "@@ <exit code> <bytes>" and then exactly
// that many bytes of the command's output. Starting Java once instead of once per table
// keeps the restore round trips quick. Run as
//   java -cp jet-oracle.jar JetOracleBatch.java < commands
import java.io.BufferedReader;
import java.io.ByteArrayOutputStream;
import java.io.InputStreamReader;
import java.io.PrintStream;
import java.lang.reflect.Field;
import java.lang.reflect.Method;
import java.nio.charset.StandardCharsets;

public class JetOracleBatch {
  public static void main(String[] args) throws Exception {
    Class<?> tool = Class.forName("JetOracle");
    Method run = tool.getDeclaredMethod("run", String[].class);
    run.setAccessible(true);
    Field out = tool.getDeclaredField("out");
    out.setAccessible(true);
    System.setProperty("org.apache.commons.logging.Log", "JetOracleLog");
    System.setProperty(com.healthmarketscience.jackcess.Database.DATE_TIME_TYPE_PROPERTY,
        com.healthmarketscience.jackcess.DateTimeType.DATE.name());
    BufferedReader in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    PrintStream stdout = new PrintStream(System.out, false, StandardCharsets.UTF_8);
    for (String line; (line = in.readLine()) != null; ) {
      if (line.isEmpty()) continue;
      ByteArrayOutputStream bytes = new ByteArrayOutputStream();
      PrintStream ps = new PrintStream(bytes, false, StandardCharsets.UTF_8);
      out.set(null, ps);
      int rc;
      try {
        rc = (Integer) run.invoke(null, (Object) line.split("\t"));
      } catch (java.lang.reflect.InvocationTargetException e) {
        ps.print("jet-oracle: " + e.getCause());
        rc = 2;
      }
      ps.flush();
      stdout.print("@@ " + rc + " " + bytes.size() + "\n");
      stdout.write(bytes.toByteArray());
      stdout.flush();
    }
  }
}
