// Checks of arguments; each failure names the argument, its value and its range. And texts of
// them for messages.

export const MAX_NODE = 16382;
const MAX_LINK = 2 ** 20 - 1;
const MAX_LSP = 2 ** 24 - 1;
const MAX_NUMBER = 2 ** 31 - 1;
const MAX_AMOUNT = (2 - 2 ** -23) * 2 ** 127; // in single precision

export const text = (value) => (Array.isArray(value) ? `[${value}]` : String(value));

export function range(name, value, min, max) {
  if (!Number.isInteger(value) || value < min || value > max)
    throw new RangeError(`${name} is ${text(value)}, must be ${min} to ${max}`);
  return value;
}
export const node = (name, value) => range(name, value, 0, MAX_NODE);
export const linkId = (name, value) => range(name, value, 0, MAX_LINK);
export const lspId = (name, value) => range(name, value, 0, MAX_LSP);
export const color = (name, value) => range(name, value, -MAX_NUMBER - 1, MAX_NUMBER);

export function amount(name, value) {
  if (typeof value !== "number" || !(value >= 0 && value <= MAX_AMOUNT))
    throw new RangeError(`${name} is ${text(value)}, must be 0 to ${MAX_AMOUNT}`);
  return Math.fround(value);
}

// An object with no other fields than these: one that is misspelt would be overlooked.
export function fields(name, value, known) {
  if (typeof value !== "object" || value === null)
    throw new TypeError(`${name} is ${text(value)}, must be an object`);
  for (const field of Object.keys(value))
    if (!known.includes(field))
      throw new TypeError(`${name} has no field ${field}, but ${known.join(", ")}`);
  return value;
}

export function array(name, value) {
  if (!Array.isArray(value) && !ArrayBuffer.isView(value))
    throw new TypeError(`${name} is ${text(value)}, must be an array`);
  return Array.from(value);
}

export function flag(name, value) {
  if (typeof value !== "boolean")
    throw new TypeError(`${name} is ${text(value)}, must be true or false`);
  return value;
}

export function backupKind(value) {
  if (value !== "local" && value !== "global")
    throw new TypeError(`kind is ${text(value)}, must be local or global`);
  return value;
}

// What check(name, element) gives for each element of an array.
export const list = (name, value, check) =>
  array(name, value).map((element, i) => check(`${name}[${i}]`, element));

export function route(name, value) {
  const nodes = list(name, value, node);
  if (nodes.length === 0) throw new RangeError(`${name} is empty, must have a node at least`);
  return nodes;
}

export function hop(name, value) {
  const ends = route(name, value);
  if (ends.length !== 2)
    throw new RangeError(`${name} is ${text(ends)}, must be the two ends of a link`);
  return ends;
}

export const describe = ({ bandwidth, trafficClass, level }) =>
  `${bandwidth} in class ${trafficClass} at level ${level}`;
export const arrows = (nodes) => nodes.join(" > ");
