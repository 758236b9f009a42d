// SPDX-License-Identifier: Apache-2.0
document.documentElement.classList.toggle("opened-as-file", location.protocol === "file:");
