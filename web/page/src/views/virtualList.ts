// A list of which only the rows in view exist. It may have more rows than a browser can lay out.

const tallestLayout = 6e6; // pixels; the least of what browsers take is about 17 million

export interface ListOptions {
    label: string;
    rowHeight: number;
    /** Fills a row. The element is used again for other rows. */
    render: (row: HTMLElement, index: number) => void;
    /** A row was chosen, by pointer or keyboard. Without it, rows cannot be chosen. */
    choose?: (index: number) => void;
}

let listCount = 0;

export class VirtualList {
    readonly element = document.createElement("div");
    readonly #space = document.createElement("div");
    readonly #rows = document.createElement("div");
    readonly #pool: HTMLElement[] = [];
    readonly #id = `list${++listCount}`;
    #count = 0;
    #top = 0; // in rows
    #ownScroll = -1; // a scroll position that was set here
    #active = -1;
    #drawing = false;

    constructor(private readonly options: ListOptions) {
        const { element } = this;
        element.className = "list";
        element.tabIndex = 0;
        element.setAttribute("role", options.choose ? "listbox" : "region");
        element.setAttribute("aria-label", options.label);
        this.#space.className = "list-space";
        this.#rows.className = "list-rows";
        this.#space.append(this.#rows);
        element.append(this.#space);
        element.addEventListener("scroll", () => this.#scrolled());
        element.addEventListener("wheel", (event) => this.#wheeled(event), { passive: false });
        element.addEventListener("keydown", (event) => this.#keyPressed(event));
        element.addEventListener("click", (event) => this.#clicked(event));
        new ResizeObserver(() => this.#setTop(this.#top)).observe(element);
    }

    get count(): number {
        return this.#count;
    }

    set count(count: number) {
        this.#count = count;
        this.#space.style.height = `${this.#layoutHeight}px`;
        this.#setTop(this.#top);
    }

    /** Marks a row and brings it into view; -1 marks none. */
    set active(index: number) {
        this.#active = index;
        if (index >= 0) this.#show(index);
        this.redraw();
    }

    redraw(): void {
        if (this.#drawing) return;
        this.#drawing = true;
        requestAnimationFrame(() => {
            this.#drawing = false;
            this.#draw();
        });
    }

    scrollToTop(): void {
        this.#setTop(0);
    }

    get #rowsInView(): number {
        return Math.max(this.element.clientHeight / this.options.rowHeight, 1);
    }

    get #layoutHeight(): number {
        return Math.min(this.#count * this.options.rowHeight, tallestLayout);
    }

    get #lastTop(): number {
        return Math.max(this.#count - this.#rowsInView, 0);
    }

    // Pixels of the scroll bar for all rows that can be passed.
    get #scrollRange(): number {
        return Math.max(this.#layoutHeight - this.element.clientHeight, 0);
    }

    #setTop(top: number): void {
        this.#top = Math.min(Math.max(top, 0), this.#lastTop);
        const position = this.#lastTop === 0 ? 0 : Math.round((this.#top / this.#lastTop) * this.#scrollRange);
        if (position !== this.element.scrollTop) {
            this.#ownScroll = position;
            this.element.scrollTop = position;
        }
        this.redraw();
    }

    #scrolled(): void {
        const position = Math.round(this.element.scrollTop);
        const isOwn = Math.abs(position - this.#ownScroll) <= 1;
        this.#ownScroll = -1;
        if (isOwn || this.#scrollRange === 0) return;
        this.#top = (this.element.scrollTop / this.#scrollRange) * this.#lastTop;
        this.redraw();
    }

    // The wheel moves by rows, also if there are more of them than the scroll bar has pixels.
    #wheeled(event: WheelEvent): void {
        if (this.#layoutHeight < tallestLayout || event.ctrlKey || event.deltaY === 0) return;
        event.preventDefault();
        const unit = event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 3 * this.options.rowHeight : 1;
        this.#setTop(this.#top + (event.deltaY * unit) / this.options.rowHeight);
    }

    #keyPressed(event: KeyboardEvent): void {
        if (event.ctrlKey || event.altKey || event.metaKey) return;
        const page = Math.max(Math.floor(this.#rowsInView) - 1, 1);
        const from = this.options.choose ? this.#active : Math.round(this.#top);
        const targets: Record<string, number> = {
            ArrowDown: from + 1,
            ArrowUp: from - 1,
            PageDown: from + page,
            PageUp: from - page,
            Home: 0,
            End: this.#count - 1,
        };
        const target = targets[event.key];
        if (target === undefined || this.#count === 0) return;
        event.preventDefault();
        const index = Math.min(Math.max(target, 0), this.#count - 1);
        if (this.options.choose) this.options.choose(index);
        else this.#setTop(index);
    }

    #clicked(event: MouseEvent): void {
        const row = (event.target as Element).closest<HTMLElement>("[data-index]");
        if (row !== null) this.options.choose?.(Number(row.dataset["index"]));
    }

    #show(index: number): void {
        const whole = Math.floor(this.#rowsInView);
        if (index < Math.ceil(this.#top)) this.#setTop(index);
        else if (index >= Math.floor(this.#top) + whole) this.#setTop(index - whole + 1);
    }

    #draw(): void {
        const first = Math.floor(this.#top);
        const shown = Math.min(Math.ceil(this.#rowsInView) + 1, this.#count - first);
        while (this.#pool.length < shown) this.#pool.push(this.#makeRow());
        const { rowHeight, render } = this.options;
        this.#rows.style.transform = `translateY(${this.element.scrollTop - (this.#top - first) * rowHeight}px)`;
        this.#pool.forEach((row, slot) => {
            row.hidden = slot >= shown;
            if (row.hidden) return;
            const index = first + slot;
            row.dataset["index"] = String(index);
            if (this.options.choose) this.#describe(row, index);
            render(row, index);
        });
        if (this.#active >= first && this.#active < first + shown)
            this.element.setAttribute("aria-activedescendant", `${this.#id}-${this.#active}`);
        else this.element.removeAttribute("aria-activedescendant");
    }

    #describe(row: HTMLElement, index: number): void {
        row.id = `${this.#id}-${index}`;
        row.setAttribute("aria-posinset", String(index + 1));
        row.setAttribute("aria-setsize", String(this.#count));
        row.setAttribute("aria-selected", String(index === this.#active));
    }

    #makeRow(): HTMLElement {
        const row = document.createElement("div");
        row.className = "row";
        row.style.height = `${this.options.rowHeight}px`;
        if (this.options.choose) row.setAttribute("role", "option");
        this.#rows.append(row);
        return row;
    }
}
