// Prints every user table of a database as mdb-reader sees it, for mdb_reader.cpp:
//     node mdb_reader.mjs NODE_MODULES DATABASE
// One line "table NAME" for each table, then one line "row FIELD FIELD ..." for its column names and for each of its
// rows. Every field is a text in the form that mdb-export has, Null is <NULL>; and every text is written as its UTF-16
// code units in hexadecimal, low byte first, so that nothing in it can be mistaken for the end of a field.
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { pathToFileURL } from "node:url";

const [modules, file] = process.argv.slice(2);
const home = join(modules, "mdb-reader");
const manifest = JSON.parse(readFileSync(join(home, "package.json"), "utf8"));
const entry = manifest.exports?.["."] ?? manifest.module ?? manifest.main;
const path = typeof entry === "string" ? entry : (entry.node?.import ?? entry.node ?? entry.import ?? entry.default);
const { default: MDBReader } = await import(pathToFileURL(join(home, typeof path === "string" ? path : path.default)));

const text = (value) => {
    if (value === null || value === undefined) return "<NULL>";
    if (typeof value === "boolean") return value ? "1" : "0";
    if (value instanceof Date) return value.toISOString().slice(0, 19).replace("T", " ");
    if (value instanceof Uint8Array) return Buffer.from(value).toString("hex");
    return String(value);
};

const reader = new MDBReader(readFileSync(file));
const plain = (value) => Buffer.from(value, "utf16le").toString("hex");
const lines = [];
for (const name of reader.getTableNames()) {
    const table = reader.getTable(name);
    const columns = table.getColumnNames();
    lines.push("table " + plain(name));
    lines.push("row " + columns.map(plain).join(" "));
    for (const row of table.getData()) lines.push("row " + columns.map((column) => plain(text(row[column]))).join(" "));
}
process.stdout.write(lines.join("\n") + "\n");
