// The selected unit in the address: #unit=123. It is for the file that is opened first.

import type { Model } from "./model.js";

export function keepLink(model: Model): void {
    const follow = (): void => {
        const unit = /(?:^#|&)unit=(\d+)$/.exec(location.hash)?.[1];
        if (unit !== undefined) model.selectUnit(Number(unit));
    };
    model.on(["selection"], () => {
        const hash = `#unit=${model.selectedUnit}`;
        if (location.hash !== hash) history.replaceState(null, "", hash);
    });
    let isFirst = true;
    model.on(["phase"], () => {
        if (model.phase === "opening" && !isFirst) history.replaceState(null, "", location.href.replace(/#.*/, ""));
        if (model.phase === "reading") {
            isFirst = false;
            follow();
        }
        if (model.phase === "ready" && model.selectedUnit < 0) model.selectAccessUnit(0);
    });
    window.addEventListener("hashchange", follow);
}
