#!/usr/bin/env node
// Independent view of an Access file through the mdb-reader package, printed in the
// same text forms as "pergonix-yedek mdb tablolar" and "mdb satirlar" so the tests can
// compare the two line by line.
//
//   node tools/mdb-reader-dump.js tables FILE          user tables, one name a line
//   node tools/mdb-reader-dump.js columns FILE TABLE   one JSON object a column
//   node tools/mdb-reader-dump.js rows FILE TABLE      JSON Lines, keys in column order
//
// Value forms: null; integers; Single and Double as the shortest text that reads back to
// the same value (Single with float precision); Currency and Numeric as plain decimal
// strings; booleans; dates "YYYY-MM-DDTHH:MM:SS[.fff]"; GUIDs "{...}" in upper case;
// text as is; OLE and binary as lower-case hex.

"use strict";

const { readFileSync } = require("node:fs");

const MS_PER_DAY = 86400000;
// Days from 1899-12-30 (OLE day 0) to 1970-01-01 (JavaScript's epoch).
const OLE_EPOCH_OFFSET_DAYS = 25569;

// --- numbers -----------------------------------------------------------------------

// Splits a positive finite number's exponential form into its significant digits and
// decimal exponent ("1.25e+3" -> {digits: "125", exp: 3}).
function splitExponential(text) {
  const [mant, e] = text.split("e");
  return { digits: mant.replace(".", ""), exp: Number(e) };
}

// Fixed or scientific text of digits d1.d2d3... x 10^exp, whichever is shorter, fixed on a
// tie; scientific as "1.5e+20" / "1e-07" with at least two exponent digits.
function formatShortest(negative, digits, exp) {
  let fixed;
  if (exp >= digits.length - 1) {
    fixed = digits + "0".repeat(exp - digits.length + 1);
  } else if (exp >= 0) {
    fixed = digits.slice(0, exp + 1) + "." + digits.slice(exp + 1);
  } else {
    fixed = "0." + "0".repeat(-exp - 1) + digits;
  }
  const absExp = Math.abs(exp);
  const sci =
    digits[0] +
    (digits.length > 1 ? "." + digits.slice(1) : "") +
    "e" +
    (exp < 0 ? "-" : "+") +
    (absExp < 10 ? "0" : "") +
    String(absExp);
  const body = sci.length < fixed.length ? sci : fixed;
  return (negative ? "-" : "") + body;
}

function specialNumber(x) {
  if (Number.isNaN(x)) return "nan";
  if (x === Infinity) return "inf";
  if (x === -Infinity) return "-inf";
  if (x === 0) return Object.is(x, -0) ? "-0" : "0";
  return null;
}

// Shortest round-trip text of a double. JavaScript's own conversion already picks the
// shortest digits (closest on ties); only the layout is adapted.
function shortestDouble(x) {
  const special = specialNumber(x);
  if (special !== null) return special;
  const { digits, exp } = splitExponential(Math.abs(x).toExponential());
  return formatShortest(x < 0, digits, exp);
}

// Shortest text that reads back to the same 32-bit float. mdb-reader hands Single values
// over widened to doubles, so the digits are searched for here: for each length, the
// correctly rounded candidate and its neighbours one unit in the last place apart, keeping
// the round-tripping one closest to the value.
function shortestFloat(x) {
  const special = specialNumber(x);
  if (special !== null) return special;
  const a = Math.abs(x);
  for (let p = 1; p <= 9; p++) {
    const { digits, exp } = splitExponential(a.toExponential(p - 1));
    const base = BigInt(digits);
    let best = null;
    for (const delta of [-1n, 0n, 1n]) {
      const candidate = base + delta;
      if (candidate <= 0n) continue;
      let cd = candidate.toString();
      let ce = exp;
      if (cd.length > p) {
        ce += 1;
        cd = cd.slice(0, p);
      } else if (cd.length < p) {
        // 10...0 minus one: the largest p-digit mantissa one decade down.
        ce -= 1;
        cd = "9".repeat(p);
      }
      const value = Number(cd[0] + "." + cd.slice(1) + "e" + ce);
      if (Math.fround(value) !== a) continue;
      const distance = Math.abs(value - a);
      if (best === null || distance < best.distance) best = { cd, ce, distance };
    }
    if (best !== null) {
      const trimmed = best.cd.replace(/0+$/, "") || "0";
      return formatShortest(x < 0, trimmed, best.ce);
    }
  }
  return shortestDouble(x);
}

// "3.5000" -> "3.5", "-12.0000" -> "-12", "0.0000" -> "0", "-0.00" -> "0".
function plainDecimal(text) {
  let s = String(text);
  let negative = false;
  if (s.startsWith("-")) {
    negative = true;
    s = s.slice(1);
  }
  let [whole, frac = ""] = s.split(".");
  whole = whole.replace(/^0+(?=\d)/, "");
  frac = frac.replace(/0+$/, "");
  if (whole === "") whole = "0";
  const body = frac === "" ? whole : whole + "." + frac;
  return negative && body !== "0" ? "-" + body : body;
}

// --- dates -------------------------------------------------------------------------

const pad = (n, width) => String(n).padStart(width, "0");

// mdb-reader turns the stored OLE date d into the instant (d - 25569) days after 1970 as
// if the scale were linear. An OLE date below zero is not: its whole part counts days
// back from 1899-12-30 while its fraction still counts the time forward from midnight
// (-1.25 is 1899-12-29 06:00). The stored value is recovered in milliseconds and read
// the OLE way.
function formatOleDate(date) {
  const linear = date.getTime() + OLE_EPOCH_OFFSET_DAYS * MS_PER_DAY; // d in ms
  let ms = linear;
  if (linear < 0) {
    const wholeDays = Math.trunc(linear / MS_PER_DAY); // towards zero, <= 0
    const timeOfDay = -linear + wholeDays * MS_PER_DAY; // |fraction| in ms
    ms = wholeDays * MS_PER_DAY + timeOfDay;
  }
  const t = new Date(ms - OLE_EPOCH_OFFSET_DAYS * MS_PER_DAY);
  const year = t.getUTCFullYear();
  const yearText = year < 0 ? "-" + pad(-year, 4) : pad(year, 4);
  let text =
    yearText +
    "-" +
    pad(t.getUTCMonth() + 1, 2) +
    "-" +
    pad(t.getUTCDate(), 2) +
    "T" +
    pad(t.getUTCHours(), 2) +
    ":" +
    pad(t.getUTCMinutes(), 2) +
    ":" +
    pad(t.getUTCSeconds(), 2);
  const millis = t.getUTCMilliseconds();
  if (millis !== 0) text += "." + pad(millis, 3);
  return text;
}

// --- values ------------------------------------------------------------------------

// mdb-reader gives replication IDs as "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx".
function formatGuid(text) {
  return "{" + String(text).toUpperCase() + "}";
}

function formatValue(column, value) {
  if (value === null || value === undefined) return "null";
  switch (column.type) {
    case "boolean":
      return value ? "true" : "false";
    case "byte":
    case "integer":
    case "long":
      return String(value);
    case "bigint":
      return value.toString();
    case "float":
      return shortestFloat(value);
    case "double":
      return shortestDouble(value);
    case "currency":
    case "numeric":
      return JSON.stringify(plainDecimal(value));
    case "datetime":
      return JSON.stringify(formatOleDate(value));
    case "repid":
      return JSON.stringify(formatGuid(value));
    case "text":
    case "memo":
      return JSON.stringify(value);
    case "ole":
    case "binary":
      return JSON.stringify(Buffer.from(value).toString("hex"));
    default:
      throw new Error(`column ${column.name}: type ${column.type} has no text form here`);
  }
}

function printRows(reader, tableName) {
  const table = reader.getTable(tableName);
  const columns = table.getColumns();
  const out = [];
  // Rows are fetched in slices so that big tables do not hold every row twice.
  const slice = 5000;
  for (let offset = 0; ; offset += slice) {
    const rows = table.getData({ rowOffset: offset, rowLimit: slice });
    for (const row of rows) {
      const parts = columns.map(
        (c) => JSON.stringify(c.name) + ":" + formatValue(c, row[c.name]),
      );
      out.push("{" + parts.join(",") + "}\n");
    }
    process.stdout.write(out.join(""));
    out.length = 0;
    if (rows.length < slice) break;
  }
}

function printColumns(reader, tableName) {
  for (const c of reader.getTable(tableName).getColumns()) {
    const info = { name: c.name, type: c.type, size: c.size, nullable: c.nullable };
    if (c.precision !== undefined) info.precision = c.precision;
    if (c.scale !== undefined) info.scale = c.scale;
    process.stdout.write(JSON.stringify(info) + "\n");
  }
}

function main(MDBReader, argv) {
  const [mode, file, table] = argv;
  const needsTable = mode === "rows" || mode === "columns";
  if (!["tables", "rows", "columns"].includes(mode) || !file || (needsTable && !table)) {
    process.stderr.write("usage: mdb-reader-dump.js tables FILE | columns FILE TABLE | rows FILE TABLE\n");
    return 2;
  }
  const reader = new MDBReader(readFileSync(file));
  if (mode === "tables") {
    for (const name of reader.getTableNames()) process.stdout.write(name + "\n");
  } else if (mode === "columns") {
    printColumns(reader, table);
  } else {
    printRows(reader, table);
  }
  return 0;
}

// mdb-reader is an ES module; this script stays a plain CommonJS file next to package.json.
import("mdb-reader")
  .then(({ default: MDBReader }) => {
    process.exitCode = main(MDBReader, process.argv.slice(2));
  })
  .catch((e) => {
    process.stderr.write(`mdb-reader-dump: ${e && e.message ? e.message : e}\n`);
    process.exitCode = 1;
  });
