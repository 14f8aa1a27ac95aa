"use strict";

// Texts are written in English where they are used, in the page by elements with "data-tr" (their content) or
// "data-tr-label" (their name for screen readers). Here stand the other languages, by the English text.
const translations = {
  "zh-Hans": {
    "Sign out": "退出登录",
    "Sign in": "登录",
    "User name": "用户名",
    "Password": "密码",
    "Sub-center": "分中心",
    "Language": "语言",
    "Upload with the client": "通过客户端上传",
    "Download with the client": "通过客户端下载",
    "All": "全部",
    "Name": "名称",
    "Modified": "修改时间",
    "Size": "大小",
    "Home": "主目录",
    "and %1 more": "还有 %1 项",
    "Switch the user of the client?": "切换客户端的用户？",
    "The client on this computer is signed in as somebody else. It stops that user's transfers, which can go on later, and signs in as you.":
      "本机的客户端登录的是另一位用户。切换后该用户的传输将停止（以后可以继续），客户端以您的身份登录。",
    "Leave it": "保持不变",
    "Switch": "切换",
    "Your session has ended. Please sign in again.": "登录已失效，请重新登录。",
    "Wrong user name or password.": "用户名或密码错误。",
    "This account may not be used.": "此账号不可使用。",
    "Too many attempts. Please wait.": "尝试次数过多，请稍候。",
    "The service cannot be reached.": "无法连接服务。",
    "You have no folder in any sub-center.": "您在任何分中心都没有文件夹。",
    "This folder is gone.": "此文件夹已不存在。",
    "The folder cannot be listed now.": "现在无法列出此文件夹。",
    "Client not running": "客户端未运行",
    "Client is starting…": "客户端正在启动…",
    "Client connected": "客户端已连接",
    "Client switches users…": "客户端正在切换用户…",
    "Client not connected": "客户端未连接",
    "Look at the client: it asks for the folder.": "请查看客户端：它正在询问文件夹。",
    "The client is being started…": "正在启动客户端…",
  },
  "zh-Hant": {
    "Sign out": "登出",
    "Sign in": "登入",
    "User name": "使用者名稱",
    "Password": "密碼",
    "Sub-center": "分中心",
    "Language": "語言",
    "Upload with the client": "透過用戶端上傳",
    "Download with the client": "透過用戶端下載",
    "All": "全部",
    "Name": "名稱",
    "Modified": "修改時間",
    "Size": "大小",
    "Home": "主目錄",
    "and %1 more": "還有 %1 項",
    "Switch the user of the client?": "切換用戶端的使用者？",
    "The client on this computer is signed in as somebody else. It stops that user's transfers, which can go on later, and signs in as you.":
      "本機的用戶端登入的是另一位使用者。切換後該使用者的傳輸將停止（以後可以繼續），用戶端以您的身分登入。",
    "Leave it": "保持不變",
    "Switch": "切換",
    "Your session has ended. Please sign in again.": "登入已失效，請重新登入。",
    "Wrong user name or password.": "使用者名稱或密碼錯誤。",
    "This account may not be used.": "此帳號不可使用。",
    "Too many attempts. Please wait.": "嘗試次數過多，請稍候。",
    "The service cannot be reached.": "無法連線至服務。",
    "You have no folder in any sub-center.": "您在任何分中心都沒有資料夾。",
    "This folder is gone.": "此資料夾已不存在。",
    "The folder cannot be listed now.": "現在無法列出此資料夾。",
    "Client not running": "用戶端未執行",
    "Client is starting…": "用戶端正在啟動…",
    "Client connected": "用戶端已連線",
    "Client switches users…": "用戶端正在切換使用者…",
    "Client not connected": "用戶端未連線",
    "Look at the client: it asks for the folder.": "請查看用戶端：它正在詢問資料夾。",
    "The client is being started…": "正在啟動用戶端…",
  },
};

/** The language chosen in this browser, else the first of the browser's own that there is. */
function wantedLanguage() {
  const chosen = localStorage.getItem("language");
  if (chosen === "en" || translations[chosen]) return chosen;
  for (const tag of navigator.languages) {
    if (/^en\b/i.test(tag)) return "en";
    if (/^zh\b/i.test(tag)) return /hant|tw|hk|mo/i.test(tag) ? "zh-Hant" : "zh-Hans";
  }
  return "en";
}

let language = wantedLanguage();

/** The text in the page's language, with values in place of %1, %2 ... */
function tr(text, ...values) {
  const told = (translations[language] || {})[text] || text;
  return told.replace(/%(\d)/g, (mark, number) => number <= values.length ? values[number - 1] : mark);
}

/** Puts the page's own texts into its language. */
function translatePage() {
  document.documentElement.lang = language;
  for (const one of document.querySelectorAll("[data-tr]")) one.textContent = tr(one.dataset.tr);
  for (const one of document.querySelectorAll("[data-tr-label]")) one.setAttribute("aria-label", tr(one.dataset.trLabel));
}

function chooseLanguage(chosen) {
  language = chosen;
  localStorage.setItem("language", chosen);
  translatePage();
}
