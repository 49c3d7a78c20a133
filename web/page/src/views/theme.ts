// Light or dark: as the system says, or as chosen.

import { make } from "./dom.js";

type Theme = "auto" | "light" | "dark";

const symbols: Record<Theme, string> = { auto: "◐", light: "○", dark: "●" };
const names: Record<Theme, string> = { auto: "System", light: "Light", dark: "Dark" };
const order: readonly Theme[] = ["auto", "light", "dark"];

export function chooseTheme(button: HTMLElement, onChange: () => void): void {
    let theme: Theme = "auto";
    const show = (): void => {
        document.documentElement.dataset["theme"] = theme;
        button.replaceChildren(symbols[theme], make("span", "theme-name", names[theme]));
        button.setAttribute("aria-label", `Colours: ${theme === "auto" ? "as the system" : theme}`);
    };
    button.addEventListener("click", () => {
        theme = order[(order.indexOf(theme) + 1) % order.length]!;
        show();
        onChange();
    });
    show();
}
