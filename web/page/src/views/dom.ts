// Small things that all views need.

export function byId<Type extends HTMLElement>(id: string): Type {
    const element = document.getElementById(id);
    if (element === null) throw new Error(`the page has no ${id}`);
    return element as Type;
}

export function make<Name extends keyof HTMLElementTagNameMap>(
    name: Name,
    className = "",
    text = "",
): HTMLElementTagNameMap[Name] {
    const element = document.createElement(name);
    if (className !== "") element.className = className;
    if (text !== "") element.textContent = text;
    return element;
}

const counts = new Intl.NumberFormat("en");

/** 12,345 */
export function count(number: number): string {
    return counts.format(number);
}

/** "1 unit", "2 units" */
export function countOf(number: number, what: string): string {
    return `${count(number)} ${what}${number === 1 ? "" : "s"}`;
}

/** 12.3 kB */
export function bytes(number: number): string {
    if (number < 1000) return `${number} B`;
    const [unit, factor] = number < 1e6 ? ["kB", 1e3] : number < 1e9 ? ["MB", 1e6] : ["GB", 1e9];
    return `${(number / factor).toPrecision(3)} ${unit}`;
}

export function hex(number: number, digits = 2): string {
    return number.toString(16).toUpperCase().padStart(digits, "0");
}

export function bytesOfHex(text: string): Uint8Array<ArrayBuffer> {
    return Uint8Array.from(text.match(/../g) ?? [], (digits) => parseInt(digits, 16));
}

export function messageOf(error: unknown): string {
    return error instanceof Error ? error.message : String(error);
}
