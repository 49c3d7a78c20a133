// Tabs, as the ARIA practices want them: arrow keys move, and only the chosen tab takes the focus.

export class Tabs {
    readonly #tabs: HTMLElement[];

    constructor(
        list: HTMLElement,
        private readonly onChoose: (panel: string) => void = () => undefined,
    ) {
        this.#tabs = [...list.querySelectorAll<HTMLElement>("[role=tab]")];
        for (const tab of this.#tabs) tab.addEventListener("click", () => this.#choose(tab));
        list.addEventListener("keydown", (event) => this.#keyPressed(event));
        this.#choose(this.#tabs[0]!);
    }

    choose(panel: string): void {
        const tab = this.#tabs.find((candidate) => candidate.getAttribute("aria-controls") === panel);
        if (tab !== undefined) this.#choose(tab);
    }

    #choose(chosen: HTMLElement): void {
        for (const tab of this.#tabs) {
            const isChosen = tab === chosen;
            tab.setAttribute("aria-selected", String(isChosen));
            tab.tabIndex = isChosen ? 0 : -1;
            document.getElementById(tab.getAttribute("aria-controls")!)!.hidden = !isChosen;
        }
        this.onChoose(chosen.getAttribute("aria-controls")!);
    }

    #keyPressed(event: KeyboardEvent): void {
        const from = this.#tabs.indexOf(document.activeElement as HTMLElement);
        const last = this.#tabs.length - 1;
        const targets: Record<string, number> = {
            ArrowRight: from === last ? 0 : from + 1,
            ArrowLeft: from === 0 ? last : from - 1,
            Home: 0,
            End: last,
        };
        const target = targets[event.key];
        if (target === undefined || from < 0) return;
        event.preventDefault();
        this.#choose(this.#tabs[target]!);
        this.#tabs[target]!.focus();
    }
}
