// Rows as CSV, in a file of their own: with a byte order mark and CRLF, so that spreadsheets
// open it as it is.

// A name from somebody's file must not become a formula.
function cell(value) {
    const plain = String(value ?? "");
    const text = /^[=+@-]/.test(plain) && !Number.isFinite(Number(plain)) ? `'${plain}` : plain;
    return /[",;\r\n\t]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

export function csvOf(columns, rows) {
    const lines = [columns.map((d) => d.name), ...rows.map((row) => columns.map((column) => column.plain(row)))];
    return "\ufeff" + lines.map((line) => line.map(cell).join(",") + "\r\n").join("");
}

export function download(name, text, type = "text/csv") {
    const url = URL.createObjectURL(new Blob([text], {type}));
    const link = document.createElement("a");
    link.href = url;
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(url), 1000);
}
