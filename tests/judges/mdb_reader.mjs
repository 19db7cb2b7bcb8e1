// Prints every user table of a database as mdb-reader sees it, for mdb_reader.cpp:
//     node mdb_reader.mjs NODE_MODULES DATABASE
// One JSON object: table name -> rows, the first one the column names; every field a text in the form that
// mdb-export has, Null is <NULL>.
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
const tables = {};
for (const name of reader.getTableNames()) {
    const table = reader.getTable(name);
    const columns = table.getColumnNames();
    tables[name] = [columns, ...table.getData().map((row) => columns.map((column) => text(row[column])))];
}
process.stdout.write(JSON.stringify(tables));
