<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_TW" sourcelanguage="en_US">
<context>
    <name>AboutText</name>
    <message>
        <source>Version</source>
        <translation>版本</translation>
    </message>
    <message>
        <source>Build</source>
        <translation>組建</translation>
    </message>
    <message>
        <source>User agreement</source>
        <translation>使用者協議</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>說明</translation>
    </message>
    <message>
        <source>This program uses the software below. Each is under the licence named.</source>
        <translation>本程式使用以下軟體，各自遵循所列授權條款。</translation>
    </message>
</context>
<context>
    <name>AddressBar</name>
    <message>
        <source>All Files</source>
        <translation>所有檔案</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>路徑</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜尋</translation>
    </message>
    <message>
        <source>Hidden folders</source>
        <translation>已摺疊的資料夾</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>向上捲動</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>向下捲動</translation>
    </message>
</context>
<context>
    <name>ArkvaleTolmaMain</name>
    <message>
        <source>Waiting for the sub-center...</source>
        <translation>正在等候分中心...</translation>
    </message>
    <message>
        <source>Arkvale has started!</source>
        <translation>Arkvale 已啟動！</translation>
    </message>
    <message>
        <source> is current user.</source>
        <translation> 是目前的使用者。</translation>
    </message>
    <message>
        <source>Are you sure you want to exit?</source>
        <translation>確定要結束嗎？</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>結束</translation>
    </message>
    <message>
        <source>Are you sure you want to logout?</source>
        <translation>確定要登出嗎？</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>登出</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>The session has ended. Please log in again.</source>
        <translation>工作階段已結束，請重新登入。</translation>
    </message>
    <message>
        <source>Arkvale has minimized to tray!</source>
        <translation>Arkvale 已最小化至系統匣！</translation>
    </message>
    <message>
        <source>Language(&amp;A)</source>
        <translation>語言(&amp;A)</translation>
    </message>
    <message>
        <source>Start WSS</source>
        <translation>啟動 WSS</translation>
    </message>
    <message>
        <source>Stop WSS</source>
        <translation>停止 WSS</translation>
    </message>
    <message>
        <source>Clear cache(&amp;C)</source>
        <translation>清除快取(&amp;C)</translation>
    </message>
    <message>
        <source>Check for updates(&amp;U)</source>
        <translation>檢查更新(&amp;U)</translation>
    </message>
    <message>
        <source>About</source>
        <translation>關於</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>說明</translation>
    </message>
    <message>
        <source>Logout(&amp;L)</source>
        <translation>登出(&amp;L)</translation>
    </message>
    <message>
        <source>Exit(&amp;E)</source>
        <translation>結束(&amp;E)</translation>
    </message>
    <message>
        <source>The language could not be saved and holds until the program ends.</source>
        <translation>無法儲存語言設定，所選語言僅在本次執行期間有效。</translation>
    </message>
    <message>
        <source>Cache clean up successfully.</source>
        <translation>快取清除成功。</translation>
    </message>
    <message>
        <source>Cache clean up failed.</source>
        <translation>快取清除失敗。</translation>
    </message>
    <message>
        <source>No help page is configured.</source>
        <translation>尚未設定說明頁面。</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
    <message>
        <source>You cannot access this server!</source>
        <translation>您無權存取此伺服器！</translation>
    </message>
    <message>
        <source>%1 transfers are still running. They stop now and can go on after the next login.</source>
        <translation>仍有 %1 個傳輸正在進行。它們現在會停止，下次登入後可以繼續。</translation>
    </message>
    <message>
        <source>There is no sub-center &quot;%1&quot;.</source>
        <translation>沒有分中心「%1」。</translation>
    </message>
    <message>
        <source>You have no folder in the sub-center &quot;%1&quot;.</source>
        <translation>您在分中心「%1」中沒有資料夾。</translation>
    </message>
</context>
<context>
    <name>ArkvaleTray</name>
    <message>
        <source>Arkvale for Render</source>
        <translation>Arkvale 算圖版</translation>
    </message>
    <message>
        <source>Main Window</source>
        <translation>主視窗</translation>
    </message>
    <message>
        <source>Transfer List</source>
        <translation>傳輸清單</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>設定</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>登出</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>結束</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>訊息</translation>
    </message>
    <message>
        <source>Download task created</source>
        <translation>已建立下載工作</translation>
    </message>
    <message>
        <source>Upload task created</source>
        <translation>已建立上傳工作</translation>
    </message>
    <message>
        <source>File download finished</source>
        <translation>檔案下載完成</translation>
    </message>
    <message>
        <source>File upload finished</source>
        <translation>檔案上傳完成</translation>
    </message>
    <message>
        <source> has loginned</source>
        <translation> 已登入</translation>
    </message>
    <message>
        <source>%1 download tasks created</source>
        <translation>已建立 %1 個下載任務</translation>
    </message>
    <message>
        <source>%1 upload tasks created</source>
        <translation>已建立 %1 個上傳任務</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及另外 %1 個</translation>
    </message>
</context>
<context>
    <name>BusyStrip</name>
    <message>
        <source>Loading</source>
        <translation>正在載入</translation>
    </message>
</context>
<context>
    <name>CollisionQuestion</name>
    <message>
        <source>The following file(s)/folder(s) exist: %1 etc.</source>
        <translation>下列檔案/資料夾已存在：%1 等。</translation>
    </message>
    <message>
        <source>Merge(Replace)</source>
        <translation>合併(取代)</translation>
    </message>
    <message>
        <source>The following file(s) exist: %1 etc.</source>
        <translation>下列檔案已存在：%1 等。</translation>
    </message>
    <message>
        <source>Replace</source>
        <translation>取代</translation>
    </message>
    <message>
        <source>The following folder(s) exist: %1 etc.</source>
        <translation>下列資料夾已存在：%1 等。</translation>
    </message>
    <message>
        <source>Merge</source>
        <translation>合併</translation>
    </message>
</context>
<context>
    <name>CommandLineTransfer</name>
    <message>
        <source>The folder &quot;%1&quot; could not be read, nothing was downloaded.</source>
        <translation>無法讀取資料夾「%1」，未下載任何內容。</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; cannot be written, nothing was downloaded.</source>
        <translation>無法寫入資料夾「%1」，未下載任何內容。</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及其他 %1 個項目</translation>
    </message>
    <message>
        <source>Not found in &quot;%1&quot;:</source>
        <translation>在「%1」中找不到：</translation>
    </message>
    <message>
        <source>There is no folder &quot;%1&quot;.</source>
        <translation>沒有資料夾「%1」。</translation>
    </message>
</context>
<context>
    <name>ConcurrenceSettings</name>
    <message>
        <source>Holds at once, for all sub-centers. Tasks above the number go back to the front of the queue and lose nothing; small files travel together and do not count.</source>
        <translation>立即生效，適用於所有分中心。超出數量的任務回到佇列前端，不會遺失任何進度；小檔案合併傳輸，不計入數量。</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>套用</translation>
    </message>
    <message>
        <source>Uploads at the same time</source>
        <translation>同時上傳的任務數</translation>
    </message>
    <message>
        <source>Downloads at the same time</source>
        <translation>同時下載的任務數</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>已儲存。</translation>
    </message>
    <message>
        <source>The settings could not be saved and hold until the program ends.</source>
        <translation>設定未能儲存，在程式結束前有效。</translation>
    </message>
</context>
<context>
    <name>DetailTexts</name>
    <message>
        <source>network</source>
        <translation>網路</translation>
    </message>
    <message>
        <source>no connection</source>
        <translation>沒有連線</translation>
    </message>
    <message>
        <source>no connection within 10 s</source>
        <translation>10 秒內未能連線</translation>
    </message>
    <message>
        <source>no answer over UDP within 5 s</source>
        <translation>5 秒內未收到 UDP 回應</translation>
    </message>
    <message>
        <source>no transfer server is known</source>
        <translation>沒有已知的傳輸伺服器</translation>
    </message>
    <message>
        <source>the connection is closed</source>
        <translation>連線已關閉</translation>
    </message>
    <message>
        <source>the other side does not answer</source>
        <translation>對方沒有回應</translation>
    </message>
    <message>
        <source>the other side does not read</source>
        <translation>對方不接收資料</translation>
    </message>
    <message>
        <source>the other side has closed the connection</source>
        <translation>對方已關閉連線</translation>
    </message>
    <message>
        <source>the other side has not been heard of for 15 s</source>
        <translation>已有 15 秒未收到對方的訊息</translation>
    </message>
    <message>
        <source>the server does not know this connection any more</source>
        <translation>伺服器已不再認識此連線</translation>
    </message>
    <message>
        <source>the server showed a certificate that is not the expected one</source>
        <translation>伺服器出示的憑證與預期不符</translation>
    </message>
    <message>
        <source>the service is stopping</source>
        <translation>服務正在停止</translation>
    </message>
    <message>
        <source>too many connections</source>
        <translation>連線過多</translation>
    </message>
    <message>
        <source>not logged in for transfers</source>
        <translation>尚未登入，無法傳輸</translation>
    </message>
    <message>
        <source>the address of the service is not valid</source>
        <translation>服務位址無效</translation>
    </message>
    <message>
        <source>the service answered something that is no ticket</source>
        <translation>服務傳回的內容不是傳輸憑據</translation>
    </message>
    <message>
        <source>the ticket is not valid</source>
        <translation>傳輸憑據無效</translation>
    </message>
    <message>
        <source>the ticket is for something else</source>
        <translation>傳輸憑據不適用於此傳輸</translation>
    </message>
    <message>
        <source>too many transfers at once</source>
        <translation>同時進行的傳輸過多</translation>
    </message>
    <message>
        <source>The user has no home here.</source>
        <translation>使用者在此沒有主資料夾。</translation>
    </message>
    <message>
        <source>The sub-center&apos;s storage is not available.</source>
        <translation>分中心的儲存空間無法使用。</translation>
    </message>
    <message>
        <source>The sub-center moves no files now.</source>
        <translation>分中心目前不傳輸檔案。</translation>
    </message>
    <message>
        <source>There is no such sub-center.</source>
        <translation>沒有這個分中心。</translation>
    </message>
    <message>
        <source>Too many tickets wait for their use.</source>
        <translation>等待使用的傳輸憑據過多。</translation>
    </message>
    <message>
        <source>a block arrives damaged again and again</source>
        <translation>某個資料區塊反覆損毀</translation>
    </message>
    <message>
        <source>a folder</source>
        <translation>是資料夾</translation>
    </message>
    <message>
        <source>a name that cannot be transferred</source>
        <translation>名稱無法傳輸</translation>
    </message>
    <message>
        <source>access denied</source>
        <translation>存取遭拒</translation>
    </message>
    <message>
        <source>another transfer is writing this file</source>
        <translation>另一個傳輸正在寫入此檔案</translation>
    </message>
    <message>
        <source>file error</source>
        <translation>檔案錯誤</translation>
    </message>
    <message>
        <source>file is too large</source>
        <translation>檔案過大</translation>
    </message>
    <message>
        <source>folders are nested too deeply</source>
        <translation>資料夾巢狀過深</translation>
    </message>
    <message>
        <source>no space left</source>
        <translation>沒有剩餘空間</translation>
    </message>
    <message>
        <source>not a folder</source>
        <translation>不是資料夾</translation>
    </message>
    <message>
        <source>not a name that can be stored</source>
        <translation>名稱無法儲存</translation>
    </message>
    <message>
        <source>not enough storage</source>
        <translation>儲存空間不足</translation>
    </message>
    <message>
        <source>not found</source>
        <translation>找不到</translation>
    </message>
    <message>
        <source>the file arrives damaged again and again</source>
        <translation>檔案反覆損毀</translation>
    </message>
    <message>
        <source>the file changed while it was sent</source>
        <translation>檔案在傳送過程中發生變化</translation>
    </message>
    <message>
        <source>the file does not match its digest</source>
        <translation>檔案與其摘要不符</translation>
    </message>
    <message>
        <source>the file on the disk has another size</source>
        <translation>磁碟上的檔案大小不同</translation>
    </message>
    <message>
        <source>the name cannot be stored here</source>
        <translation>此名稱無法在此儲存</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>名稱已存在</translation>
    </message>
    <message>
        <source>the name is the one of a partial file</source>
        <translation>名稱與未完成檔案的名稱相同</translation>
    </message>
    <message>
        <source>the quota does not allow a file of this size</source>
        <translation>配額不足以存放此大小的檔案</translation>
    </message>
    <message>
        <source>the quota is used up</source>
        <translation>配額已用完</translation>
    </message>
    <message>
        <source>Connection refused</source>
        <translation>連線遭拒</translation>
    </message>
    <message>
        <source>Connection reset by peer</source>
        <translation>連線被對方重設</translation>
    </message>
    <message>
        <source>Connection timed out</source>
        <translation>連線逾時</translation>
    </message>
    <message>
        <source>Disk quota exceeded</source>
        <translation>超出磁碟配額</translation>
    </message>
    <message>
        <source>End of file</source>
        <translation>連線已結束</translation>
    </message>
    <message>
        <source>File name too long</source>
        <translation>檔案名稱過長</translation>
    </message>
    <message>
        <source>Input/output error</source>
        <translation>輸入/輸出錯誤</translation>
    </message>
    <message>
        <source>Network is unreachable</source>
        <translation>無法連上網路</translation>
    </message>
    <message>
        <source>No route to host</source>
        <translation>沒有到主機的路由</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>裝置上沒有剩餘空間</translation>
    </message>
    <message>
        <source>No such file or directory</source>
        <translation>沒有此檔案或目錄</translation>
    </message>
    <message>
        <source>Permission denied</source>
        <translation>權限不足</translation>
    </message>
    <message>
        <source>Read-only file system</source>
        <translation>唯讀檔案系統</translation>
    </message>
    <message>
        <source>cannot connect</source>
        <translation>無法連線</translation>
    </message>
    <message>
        <source>cannot open the folder</source>
        <translation>無法開啟資料夾</translation>
    </message>
    <message>
        <source>cannot read the folder</source>
        <translation>無法讀取資料夾</translation>
    </message>
    <message>
        <source>connection lost</source>
        <translation>連線中斷</translation>
    </message>
    <message>
        <source>host not found</source>
        <translation>找不到主機</translation>
    </message>
    <message>
        <source>links and special files that were left out</source>
        <translation>略過的連結和特殊檔案</translation>
    </message>
    <message>
        <source>no encrypted connection</source>
        <translation>沒有加密連線</translation>
    </message>
    <message>
        <source>the other side broke the protocol</source>
        <translation>對方違反了協定</translation>
    </message>
</context>
<context>
    <name>DialogFrame</name>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
</context>
<context>
    <name>EmptyFolderPanel</name>
    <message>
        <source>Upload</source>
        <translation>上傳</translation>
    </message>
    <message>
        <source>Nothing found</source>
        <translation>找不到任何內容</translation>
    </message>
    <message>
        <source>large space</source>
        <translation>超大空間</translation>
    </message>
    <message>
        <source>No file or folder of the drive has a name like that.</source>
        <translation>雲端硬碟中沒有名稱相符的檔案或資料夾。</translation>
    </message>
    <message>
        <source>and waiting for  you to fill, hurry to upload ~</source>
        <translation>等您來填滿，趕快上傳吧～</translation>
    </message>
    <message>
        <source>No name in this folder holds the text of the filter.</source>
        <translation>此資料夾中沒有名稱包含篩選文字。</translation>
    </message>
</context>
<context>
    <name>FileDialog</name>
    <message>
        <source>Icons</source>
        <translation>圖示</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>詳細資料</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>新增資料夾</translation>
    </message>
    <message>
        <source>Parent folder</source>
        <translation>上層資料夾</translation>
    </message>
    <message>
        <source>Select(&amp;S)</source>
        <translation>選取(&amp;S)</translation>
    </message>
    <message>
        <source>Local files</source>
        <translation>本機檔案</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>資料夾</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Cancel(&amp;C)</source>
        <translation>取消(&amp;C)</translation>
    </message>
    <message>
        <source>The folder could not be made here.</source>
        <translation>無法在此處建立資料夾。</translation>
    </message>
    <message>
        <source>%1 selected</source>
        <translation>已選取 %1 個項目</translation>
    </message>
    <message>
        <source>Places</source>
        <translation>位置</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>主目錄</translation>
    </message>
    <message>
        <source>Desktop</source>
        <translation>桌面</translation>
    </message>
    <message>
        <source>Documents</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation>圖片</translation>
    </message>
    <message>
        <source>Videos</source>
        <translation>影片</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>篩選</translation>
    </message>
    <message>
        <source>There is no such folder.</source>
        <translation>沒有這個資料夾。</translation>
    </message>
    <message>
        <source>The folder cannot be read.</source>
        <translation>無法讀取該資料夾。</translation>
    </message>
</context>
<context>
    <name>FileItemModel</name>
    <message>
        <source>Transfer not finished</source>
        <translation>傳輸尚未完成</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Modified</source>
        <translation>修改日期</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>路徑</translation>
    </message>
    <message>
        <source>All Files</source>
        <translation>全部檔案</translation>
    </message>
    <message>
        <source>Move to &quot;%1&quot;</source>
        <translation>移動到「%1」</translation>
    </message>
    <message>
        <source>Upload to &quot;%1&quot;</source>
        <translation>上傳到「%1」</translation>
    </message>
</context>
<context>
    <name>FileListWidget</name>
    <message>
        <source>Files</source>
        <translation>檔案</translation>
    </message>
</context>
<context>
    <name>FileNameDelegate</name>
    <message>
        <source>New name</source>
        <translation>新名稱</translation>
    </message>
</context>
<context>
    <name>FileNameRules</name>
    <message>
        <source>Please enter the file name!</source>
        <translation>請輸入檔案名稱！</translation>
    </message>
    <message>
        <source>File name already exists!</source>
        <translation>檔案名稱已存在！</translation>
    </message>
    <message>
        <source>Consistent with the original file name!</source>
        <translation>與原檔案名稱相同！</translation>
    </message>
</context>
<context>
    <name>FilePreviewBase</name>
    <message>
        <source>Preview of the file is not supported.</source>
        <translation>不支援預覽該檔案。</translation>
    </message>
    <message>
        <source>Preview of file larger than %1MB is not supported, please download it.</source>
        <translation>不支援預覽大於 %1MB 的檔案，請下載後檢視。</translation>
    </message>
    <message>
        <source>File loading failed!</source>
        <translation>檔案載入失敗！</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>FileTexts</name>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Modifyed</source>
        <translation>修改日期</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 等另外 %2 項</translation>
    </message>
</context>
<context>
    <name>FileTreeWidget</name>
    <message>
        <source>Files</source>
        <translation>檔案</translation>
    </message>
</context>
<context>
    <name>FileWidget</name>
    <message>
        <source>Open(&amp;O)</source>
        <translation>開啟(&amp;O)</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Rename(&amp;R)</source>
        <translation>重新命名(&amp;R)</translation>
    </message>
    <message>
        <source>Delete(&amp;D)</source>
        <translation>刪除(&amp;D)</translation>
    </message>
    <message>
        <source>Preview(&amp;P)</source>
        <translation>預覽(&amp;P)</translation>
    </message>
    <message>
        <source>Cut(&amp;X)</source>
        <translation>剪下(&amp;X)</translation>
    </message>
    <message>
        <source>Copy(&amp;C)</source>
        <translation>複製(&amp;C)</translation>
    </message>
    <message>
        <source>Paste(&amp;V)</source>
        <translation>貼上(&amp;V)</translation>
    </message>
    <message>
        <source>Compress</source>
        <translation>壓縮</translation>
    </message>
    <message>
        <source>Decompress</source>
        <translation>解壓縮</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Modified time</source>
        <translation>修改時間</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Sort by</source>
        <translation>排序方式</translation>
    </message>
    <message>
        <source>Move to(&amp;M)</source>
        <translation>移動到(&amp;M)</translation>
    </message>
</context>
<context>
    <name>FinishedItemWidget</name>
    <message>
        <source>Error</source>
        <translation>錯誤</translation>
    </message>
    <message>
        <source>File not found!</source>
        <translation>找不到檔案！</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Open file</source>
        <translation>開啟檔案</translation>
    </message>
    <message>
        <source>Open folder where file resides</source>
        <translation>開啟檔案所在資料夾</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>重試</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
</context>
<context>
    <name>FinishedListWidget</name>
    <message>
        <source>Open file</source>
        <translation>開啟檔案</translation>
    </message>
    <message>
        <source>Open folder where file resides</source>
        <translation>開啟檔案所在資料夾</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>重試</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
    <message>
        <source>Promption</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Are you sure to clear all record?</source>
        <translation>確定要清除所有記錄嗎？</translation>
    </message>
    <message>
        <source>Nothing has been transferred yet.</source>
        <translation>尚未傳輸任何檔案。</translation>
    </message>
</context>
<context>
    <name>FinishedTaskModel</name>
    <message>
        <source>To: %1</source>
        <translation>至：%1</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>successful</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>失敗</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>時間</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>結果</translation>
    </message>
</context>
<context>
    <name>GlobalConfig</name>
    <message>
        <source>Unknown Request Error!</source>
        <translation>未知的要求錯誤！</translation>
    </message>
    <message>
        <source>Failed to get subcenter list.</source>
        <translation>取得分中心清單失敗。</translation>
    </message>
    <message>
        <source>Failed to get user info.</source>
        <translation>取得使用者資訊失敗。</translation>
    </message>
    <message>
        <source>Request Error</source>
        <translation>要求錯誤</translation>
    </message>
</context>
<context>
    <name>HeaderBar</name>
    <message>
        <source>Transfer List</source>
        <translation>傳輸列表</translation>
    </message>
    <message>
        <source>My Disk</source>
        <translation>我的網盤</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>Setting</source>
        <translation>設定</translation>
    </message>
    <message>
        <source>New tab</source>
        <translation>新增分頁</translation>
    </message>
    <message>
        <source>Reopen the closed tab</source>
        <translation>重新開啟已關閉的分頁</translation>
    </message>
    <message>
        <source>Split side by side</source>
        <translation>左右分割</translation>
    </message>
    <message>
        <source>Close this pane</source>
        <translation>關閉此窗格</translation>
    </message>
    <message>
        <source>Minimize to tray</source>
        <translation>最小化到系統匣</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>選單</translation>
    </message>
    <message>
        <source>Storage used</source>
        <translation>已用空間</translation>
    </message>
</context>
<context>
    <name>ImagePreviewWidget</name>
    <message>
        <source>Fit</source>
        <translation>適應</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
    <message>
        <source>Previous image</source>
        <translation>上一張</translation>
    </message>
    <message>
        <source>Next image</source>
        <translation>下一張</translation>
    </message>
    <message>
        <source>Fit to the window</source>
        <translation>適應視窗</translation>
    </message>
    <message>
        <source>Full size</source>
        <translation>原始大小</translation>
    </message>
    <message>
        <source>Darker</source>
        <translation>調暗</translation>
    </message>
    <message>
        <source>Brighter</source>
        <translation>調亮</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>圖片</translation>
    </message>
    <message>
        <source>Preview of the file is not supported.</source>
        <translation>不支援預覽該檔案。</translation>
    </message>
    <message>
        <source>File loading failed!</source>
        <translation>檔案載入失敗！</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>正在載入...</translation>
    </message>
    <message>
        <source>Preview of file larger than %1MB is not supported, please download it.</source>
        <translation>不支援預覽大於 %1MB 的檔案，請下載後檢視。</translation>
    </message>
    <message>
        <source>Loading... %1%</source>
        <translation>正在載入... %1%</translation>
    </message>
    <message>
        <source>Exposure</source>
        <translation>曝光</translation>
    </message>
</context>
<context>
    <name>LinkShareDialog</name>
    <message>
        <source>Share by link</source>
        <translation>透過連結分享</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
    <message>
        <source>The link was made and copied.</source>
        <translation>連結已建立並複製。</translation>
    </message>
    <message>
        <source>The link was made and copied with its password.</source>
        <translation>連結已建立，並連同密碼一起複製。</translation>
    </message>
    <message>
        <source>The password was changed; the old one opens nothing any more.</source>
        <translation>密碼已修改，舊密碼不再有效。</translation>
    </message>
    <message>
        <source>Everybody with the link can see it</source>
        <translation>擁有連結的任何人都可以檢視</translation>
    </message>
    <message>
        <source>Only with this password:</source>
        <translation>僅憑此密碼：</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>密碼</translation>
    </message>
    <message>
        <source>Another one</source>
        <translation>換一個</translation>
    </message>
    <message>
        <source>Make the link</source>
        <translation>建立連結</translation>
    </message>
    <message>
        <source>Link</source>
        <translation>連結</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>複製</translation>
    </message>
    <message>
        <source>Change</source>
        <translation>修改</translation>
    </message>
    <message>
        <source>End this share</source>
        <translation>結束此分享</translation>
    </message>
    <message>
        <source>The link was copied.</source>
        <translation>連結已複製。</translation>
    </message>
    <message>
        <source>Link and password were copied.</source>
        <translation>連結和密碼已複製。</translation>
    </message>
    <message>
        <source>Please type a password.</source>
        <translation>請輸入密碼。</translation>
    </message>
    <message>
        <source>One moment...</source>
        <translation>請稍候...</translation>
    </message>
</context>
<context>
    <name>LoginCycle</name>
    <message>
        <source>ArkvaleTolma is crashed!</source>
        <translation>ArkvaleTolma 已當機！</translation>
    </message>
    <message>
        <source>app crash</source>
        <translation>程式當機</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>LoginUI</name>
    <message>
        <source>Login</source>
        <translation>登入</translation>
    </message>
    <message>
        <source>Minimise</source>
        <translation>最小化</translation>
    </message>
    <message>
        <source>NRX Cloud Drive</source>
        <translation>NRX 雲端硬碟</translation>
    </message>
    <message>
        <source>User name</source>
        <translation>使用者名稱</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>密碼</translation>
    </message>
    <message>
        <source>Show password</source>
        <translation>顯示密碼</translation>
    </message>
    <message>
        <source>Remember Me</source>
        <translation>記住我</translation>
    </message>
    <message>
        <source>Auto Login</source>
        <translation>自動登入</translation>
    </message>
    <message>
        <source>Forgot password</source>
        <translation>忘記密碼</translation>
    </message>
    <message>
        <source>Register now</source>
        <translation>立即註冊</translation>
    </message>
    <message>
        <source>The service does not answer. You can try again.</source>
        <translation>服務沒有回應，您可以再試一次。</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Please enter your username and password!</source>
        <translation>請輸入使用者名稱和密碼！</translation>
    </message>
    <message>
        <source>Logging in</source>
        <translation>登入中</translation>
    </message>
    <message>
        <source>Login failed.</source>
        <translation>登入失敗。</translation>
    </message>
    <message>
        <source>NRX Cloud Driver User Agreement</source>
        <translation>《NRX 雲端硬碟使用者協議》</translation>
    </message>
    <message>
        <source>Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been permanently frozen! Please read the %1.</source>
        <translation>親愛的使用者！由於您在使用 NRX 雲端硬碟時有違規行為，您的帳號已被永久凍結！請閱讀%1。</translation>
    </message>
    <message>
        <source>further notice</source>
        <translation>另行通知</translation>
    </message>
    <message>
        <source>Dear users! You are irregularities in the use of NRX Cloud Driver, your account has been frozen to %1! Please read the %2.</source>
        <translation>親愛的使用者！由於您在使用 NRX 雲端硬碟時有違規行為，您的帳號已被凍結，解凍時間：%1！請閱讀%2。</translation>
    </message>
    <message>
        <source>The page could not be opened.</source>
        <translation>無法開啟頁面。</translation>
    </message>
    <message>
        <source>A new version is available.</source>
        <translation>有新版本可用。</translation>
    </message>
    <message>
        <source>Caps Lock is on</source>
        <translation>大寫鎖定已開啟</translation>
    </message>
</context>
<context>
    <name>MoveDialog</name>
    <message>
        <source>Move to</source>
        <translation>移動到</translation>
    </message>
    <message>
        <source>Move</source>
        <translation>移動</translation>
    </message>
</context>
<context>
    <name>MsgBox</name>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>資訊</translation>
    </message>
    <message>
        <source>title</source>
        <translation>標題</translation>
    </message>
</context>
<context>
    <name>MsgDlg</name>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>資訊</translation>
    </message>
    <message>
        <source>title</source>
        <translation>標題</translation>
    </message>
</context>
<context>
    <name>MsgDlgEx</name>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Infomation</source>
        <translation>資訊</translation>
    </message>
    <message>
        <source>title</source>
        <translation>標題</translation>
    </message>
</context>
<context>
    <name>MyDiskDirectoryBrowser</name>
    <message>
        <source>New Folder</source>
        <translation>新建資料夾</translation>
    </message>
    <message>
        <source>Please select the location copy to</source>
        <translation>請選擇要複製到的位置</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Path not found!</source>
        <translation>路徑不存在！</translation>
    </message>
    <message>
        <source>The folder could not be opened.</source>
        <translation>無法開啟該資料夾。</translation>
    </message>
    <message>
        <source>The folder could not be created.</source>
        <translation>無法新建該資料夾。</translation>
    </message>
</context>
<context>
    <name>MyDiskDirectoryBrowserTree</name>
    <message>
        <source>Folders</source>
        <translation>資料夾</translation>
    </message>
    <message>
        <source>All Files</source>
        <translation>全部檔案</translation>
    </message>
    <message>
        <source>Loading...</source>
        <translation>正在載入...</translation>
    </message>
</context>
<context>
    <name>NetDiskServer</name>
    <message>
        <source>Login expired.</source>
        <translation>登入已過期。</translation>
    </message>
    <message>
        <source>Access Denied!</source>
        <translation>存取遭拒！</translation>
    </message>
    <message>
        <source>Search Result</source>
        <translation>搜尋結果</translation>
    </message>
</context>
<context>
    <name>NetdiskPage</name>
    <message>
        <source>Error</source>
        <translation>錯誤</translation>
    </message>
    <message>
        <source>Path not found!</source>
        <translation>找不到路徑！</translation>
    </message>
    <message>
        <source>items</source>
        <translation>個項目</translation>
    </message>
    <message>
        <source>files</source>
        <translation>個檔案</translation>
    </message>
    <message>
        <source>folders</source>
        <translation>個資料夾</translation>
    </message>
    <message>
        <source>Icon</source>
        <translation>圖示</translation>
    </message>
    <message>
        <source>List</source>
        <translation>清單</translation>
    </message>
    <message>
        <source>Switch to list mode</source>
        <translation>切換至清單模式</translation>
    </message>
    <message>
        <source>Switch to icon mode</source>
        <translation>切換至圖示模式</translation>
    </message>
    <message>
        <source>Adding to the transfer list...</source>
        <translation>正在加入傳輸清單...</translation>
    </message>
    <message>
        <source>Tasks is running...</source>
        <translation>工作進行中...</translation>
    </message>
    <message>
        <source>Select file(s)/folder(s) to upload.</source>
        <translation>選取要上傳的檔案/資料夾</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>選取目標資料夾</translation>
    </message>
    <message>
        <source>The upload was not started: the folder&apos;s contents could not be read.</source>
        <translation>上傳未開始：無法讀取資料夾的內容。</translation>
    </message>
    <message>
        <source>%1 of the chosen files or folders cannot be read.</source>
        <translation>所選的檔案或資料夾中有 %1 個無法讀取。</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Please select file(s)/folder(s) to download.</source>
        <translation>請選取要下載的檔案/資料夾。</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; cannot be used.</source>
        <translation>無法使用資料夾「%1」。</translation>
    </message>
    <message>
        <source>Please select file(s)/folder(s) you want to delete.</source>
        <translation>請選取要刪除的檔案/資料夾。</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>刪除</translation>
    </message>
    <message>
        <source>Delete selected items?</source>
        <translation>確定要刪除選取的項目嗎？</translation>
    </message>
    <message>
        <source>Please select the file or directory you want to rename!</source>
        <translation>請選取要重新命名的檔案或資料夾！</translation>
    </message>
    <message>
        <source>A name must not begin with a dot or hold one of \ / : * ? &quot; &lt; &gt; |</source>
        <translation>名稱不能以點開頭，也不能包含下列任何字元：\ / : * ? &quot; &lt; &gt; |</translation>
    </message>
    <message>
        <source>These items are in &quot;%1&quot;. Download them there and upload them here.</source>
        <translation>這些項目位於「%1」。請在該處下載，再上傳到此處。</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>上傳</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>新增資料夾</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>重新命名</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜尋</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>上一頁</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>下一頁</translation>
    </message>
    <message>
        <source>Home</source>
        <translation>主目錄</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>重新整理</translation>
    </message>
    <message>
        <source>Storage used</source>
        <translation>已使用空間</translation>
    </message>
    <message>
        <source>The folder &quot;%1&quot; could not be opened: the service does not answer as expected.</source>
        <translation>無法開啟資料夾「%1」：服務沒有按預期回應。</translation>
    </message>
    <message>
        <source>real name authentication</source>
        <translation>實名認證</translation>
    </message>
    <message>
        <source>Dear users, you have not been %1, temporarily unable to share.</source>
        <translation>親愛的使用者，您還沒有%1，暫時無法分享。</translation>
    </message>
    <message>
        <source>Please select one file/folder to share.</source>
        <translation>請選擇一個檔案或資料夾進行分享。</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>All commands</source>
        <translation>全部命令</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>篩選</translation>
    </message>
    <message>
        <source>Show only names that hold this text</source>
        <translation>只顯示名稱包含此文字的項目</translation>
    </message>
    <message>
        <source>Search the whole drive</source>
        <translation>搜尋整個網盤</translation>
    </message>
    <message>
        <source>Share by link</source>
        <translation>透過連結分享</translation>
    </message>
    <message>
        <source>Share with users</source>
        <translation>分享給使用者</translation>
    </message>
    <message>
        <source>Parent folder</source>
        <translation>上層資料夾</translation>
    </message>
    <message>
        <source>Edit path</source>
        <translation>編輯路徑</translation>
    </message>
    <message>
        <source>Select all</source>
        <translation>全選</translation>
    </message>
    <message>
        <source>%1 selected</source>
        <translation>已選取 %1 項</translation>
    </message>
    <message>
        <source>not allowed</source>
        <translation>沒有權限</translation>
    </message>
    <message>
        <source>not there any more</source>
        <translation>已不存在</translation>
    </message>
    <message>
        <source>the name is taken</source>
        <translation>名稱已被占用</translation>
    </message>
    <message>
        <source>not enough room</source>
        <translation>空間不足</translation>
    </message>
    <message>
        <source>the service cannot be reached</source>
        <translation>無法連線到服務</translation>
    </message>
    <message>
        <source>the service refused, error %1</source>
        <translation>服務拒絕了請求，錯誤 %1</translation>
    </message>
    <message>
        <source>Could not create %1: %2.</source>
        <translation>無法建立 %1：%2。</translation>
    </message>
    <message>
        <source>Could not delete %1: %2.</source>
        <translation>無法刪除 %1：%2。</translation>
    </message>
    <message>
        <source>Could not move %1: %2.</source>
        <translation>無法移動 %1：%2。</translation>
    </message>
    <message>
        <source>Could not copy %1: %2.</source>
        <translation>無法複製 %1：%2。</translation>
    </message>
    <message>
        <source>Could not rename %1: %2.</source>
        <translation>無法重新命名 %1：%2。</translation>
    </message>
    <message>
        <source>Could not compress into %1: %2.</source>
        <translation>無法壓縮為 %1：%2。</translation>
    </message>
    <message>
        <source>Could not decompress %1: %2.</source>
        <translation>無法解壓縮 %1：%2。</translation>
    </message>
    <message>
        <source>Could not search for %1: %2.</source>
        <translation>無法搜尋 %1：%2。</translation>
    </message>
</context>
<context>
    <name>NewFolderWidget</name>
    <message>
        <source>New Folder</source>
        <translation>新增資料夾</translation>
    </message>
    <message>
        <source>Rename</source>
        <translation>重新命名</translation>
    </message>
    <message>
        <source>Compress</source>
        <translation>壓縮</translation>
    </message>
    <message>
        <source>Enter the file name</source>
        <translation>輸入檔案名稱</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Try again</source>
        <translation>重試</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
</context>
<context>
    <name>PathChooser</name>
    <message>
        <source>%1: the connection over %2 broke</source>
        <translation>%1：透過 %2 的連線已中斷</translation>
    </message>
    <message>
        <source>%1: nothing came over %2 any more</source>
        <translation>%1：%2 上不再有資料到達</translation>
    </message>
    <message>
        <source>%1: trying whether it is faster than %2</source>
        <translation>%1：正在測試是否比 %2 更快</translation>
    </message>
    <message>
        <source>UDP: it was the faster one here</source>
        <translation>UDP：先前在這裡較快</translation>
    </message>
    <message>
        <source>UDP: a long line (%1 ms)</source>
        <translation>UDP：線路較長（%1 毫秒）</translation>
    </message>
    <message>
        <source>UDP: TCP does not pass</source>
        <translation>UDP：TCP 無法通過</translation>
    </message>
    <message>
        <source>TCP: a short line (%1 ms)</source>
        <translation>TCP：線路較短（%1 毫秒）</translation>
    </message>
    <message>
        <source>TCP: the transfer type asks for it</source>
        <translation>TCP：由傳輸類型指定</translation>
    </message>
    <message>
        <source>TCP: the server offers no UDP</source>
        <translation>TCP：伺服器不提供 UDP</translation>
    </message>
    <message>
        <source>TCP: UDP does not pass</source>
        <translation>TCP：UDP 無法通過</translation>
    </message>
    <message>
        <source>TCP: it was fast enough here</source>
        <translation>TCP：先前在這裡速度足夠</translation>
    </message>
    <message>
        <source>TCP: UDP does not answer yet</source>
        <translation>TCP：UDP 尚無回應</translation>
    </message>
    <message>
        <source>TCP: it fills the target speed</source>
        <translation>TCP：已達到目標速度</translation>
    </message>
    <message>
        <source>UDP: faster than TCP here (%1 and %2 Mbps)</source>
        <translation>UDP：在這裡比 TCP 更快（%1 與 %2 Mbps）</translation>
    </message>
    <message>
        <source>TCP: not slower than UDP here (%1 and %2 Mbps)</source>
        <translation>TCP：在這裡不比 UDP 慢（%1 與 %2 Mbps）</translation>
    </message>
</context>
<context>
    <name>PreviewProgress</name>
    <message>
        <source>Preview</source>
        <translation>預覽</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>進度</translation>
    </message>
</context>
<context>
    <name>ReportDialog</name>
    <message>
        <source>It belongs to somebody else</source>
        <translation>內容屬於他人</translation>
    </message>
    <message>
        <source>It is harmful, such as a virus or a fraud</source>
        <translation>內容有害，例如病毒或詐騙</translation>
    </message>
    <message>
        <source>It is illegal or offensive</source>
        <translation>內容違法或令人反感</translation>
    </message>
    <message>
        <source>It is advertising that I did not ask for</source>
        <translation>未經請求的廣告</translation>
    </message>
    <message>
        <source>Something else</source>
        <translation>其他原因</translation>
    </message>
    <message>
        <source>Report a share</source>
        <translation>檢舉分享</translation>
    </message>
    <message>
        <source>%1, shared by %2</source>
        <translation>%1，由 %2 分享</translation>
    </message>
    <message>
        <source>What is wrong with it?</source>
        <translation>它有什麼問題？</translation>
    </message>
    <message>
        <source>Pictures</source>
        <translation>圖片</translation>
    </message>
    <message>
        <source>Add pictures...</source>
        <translation>新增圖片...</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>移除</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>檢舉</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Add pictures</source>
        <translation>新增圖片</translation>
    </message>
    <message>
        <source>At most 5 pictures of 3.5 MB together.</source>
        <translation>最多 5 張圖片，總計不超過 3.5 MB。</translation>
    </message>
</context>
<context>
    <name>SelectCenterDialog</name>
    <message>
        <source>Please select default subcenter</source>
        <translation>請選擇預設分中心</translation>
    </message>
    <message>
        <source>Tips: Files are different among sub centers</source>
        <translation>提示：各分中心的檔案互不相同</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>確定</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Select Subcenter</source>
        <translation>選擇分中心</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>Transfer Settings</source>
        <translation>傳輸設定</translation>
    </message>
    <message>
        <source>Transfer</source>
        <translation>傳輸</translation>
    </message>
    <message>
        <source>Tasks</source>
        <translation>任務</translation>
    </message>
</context>
<context>
    <name>ShareBrowser</name>
    <message>
        <source>Shared with me</source>
        <translation>與我分享的</translation>
    </message>
    <message>
        <source>This folder is empty.</source>
        <translation>此資料夾為空。</translation>
    </message>
</context>
<context>
    <name>ShareListModel</name>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Shared with</source>
        <translation>分享給</translation>
    </message>
    <message>
        <source>Shared by</source>
        <translation>分享者</translation>
    </message>
    <message>
        <source>Shared</source>
        <translation>分享時間</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
</context>
<context>
    <name>ShareListView</name>
    <message>
        <source>No share matches the search.</source>
        <translation>沒有符合搜尋的分享。</translation>
    </message>
    <message>
        <source>You have shared nothing so far. Select a file or folder on your disk and choose &quot;Share&quot;.</source>
        <translation>您還沒有分享任何內容。請在網路硬碟中選擇檔案或資料夾，然後點選「分享」。</translation>
    </message>
    <message>
        <source>Nobody has shared anything with you so far.</source>
        <translation>還沒有人與您分享內容。</translation>
    </message>
    <message>
        <source>Shared by me</source>
        <translation>我的分享</translation>
    </message>
    <message>
        <source>Shared with me</source>
        <translation>與我分享的</translation>
    </message>
</context>
<context>
    <name>SharePage</name>
    <message>
        <source>Thank you. The report was sent.</source>
        <translation>謝謝，檢舉已送出。</translation>
    </message>
    <message>
        <source>Saved to your disk.</source>
        <translation>已儲存到您的網路硬碟。</translation>
    </message>
    <message>
        <source>Shared by me</source>
        <translation>我的分享</translation>
    </message>
    <message>
        <source>Shared with me</source>
        <translation>與我分享的</translation>
    </message>
    <message>
        <source>Link and users</source>
        <translation>連結與使用者</translation>
    </message>
    <message>
        <source>Show on my disk</source>
        <translation>在網路硬碟中顯示</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>開啟</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Save to my disk</source>
        <translation>儲存到我的網路硬碟</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>檢舉</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>搜尋</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>重新整理</translation>
    </message>
    <message>
        <source>End sharing</source>
        <translation>結束分享</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>忽略</translation>
    </message>
    <message>
        <source>Copy the link</source>
        <translation>複製連結</translation>
    </message>
    <message>
        <source>End sharing of %1? The files stay; links to them open nothing any more.</source>
        <translation>結束對 %1 的分享？檔案會保留，但連結將失效。</translation>
    </message>
    <message>
        <source>Ignore %1? It disappears from this list.</source>
        <translation>忽略 %1？它將從此清單中消失。</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>選擇目標資料夾</translation>
    </message>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
</context>
<context>
    <name>ShareService</name>
    <message>
        <source>Access Denied!</source>
        <translation>存取遭拒！</translation>
    </message>
    <message>
        <source>This is not allowed.</source>
        <translation>不允許此操作。</translation>
    </message>
    <message>
        <source>The share, the item or the user is not there any more.</source>
        <translation>分享、項目或使用者已不存在。</translation>
    </message>
    <message>
        <source>Something of that name is there already.</source>
        <translation>已存在同名項目。</translation>
    </message>
    <message>
        <source>That is too large.</source>
        <translation>內容過大。</translation>
    </message>
    <message>
        <source>Too many requests. Please try again later.</source>
        <translation>請求過多，請稍後再試。</translation>
    </message>
    <message>
        <source>There is not enough space.</source>
        <translation>空間不足。</translation>
    </message>
    <message>
        <source>The file cannot be written.</source>
        <translation>無法寫入檔案。</translation>
    </message>
    <message>
        <source>The request was refused.</source>
        <translation>請求被拒絕。</translation>
    </message>
    <message>
        <source>The service cannot be reached now.</source>
        <translation>目前無法連線服務。</translation>
    </message>
</context>
<context>
    <name>ShareTexts</name>
    <message>
        <source>Everybody with the link</source>
        <translation>擁有連結的任何人</translation>
    </message>
    <message>
        <source>Whoever has link and password</source>
        <translation>擁有連結和密碼的人</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 等另外 %2 人</translation>
    </message>
    <message>
        <source>Password: %1</source>
        <translation>密碼：%1</translation>
    </message>
</context>
<context>
    <name>SpeedGroup</name>
    <message>
        <source>Smart</source>
        <translation>智慧</translation>
    </message>
    <message>
        <source>High-speed</source>
        <translation>高速</translation>
    </message>
    <message>
        <source>Target-speed</source>
        <translation>目標速度</translation>
    </message>
    <message>
        <source>the target speed is the upper limit of the speed</source>
        <translation>目標速度是速度的上限</translation>
    </message>
    <message>
        <source>According to the network situation, the smart mode adjusts the transmission speed dynamically</source>
        <translation>智慧模式依網路狀況動態調整傳輸速度</translation>
    </message>
    <message>
        <source>High speed mode will seize the network to send data, in some network conditions can effectively enhance the transmission rate of 5-10 times</source>
        <translation>高速模式會搶佔網路傳送資料，在某些網路條件下可將傳輸速率有效提升 5-10 倍</translation>
    </message>
    <message>
        <source>( Max Target-speed: %1 Mbps )</source>
        <translation>( 最大目標速度：%1 Mbps )</translation>
    </message>
</context>
<context>
    <name>TabWidget</name>
    <message>
        <source>New tab</source>
        <translation>新增分頁</translation>
    </message>
    <message>
        <source>Move to a new pane</source>
        <translation>移至新窗格</translation>
    </message>
    <message>
        <source>Close tab</source>
        <translation>關閉分頁</translation>
    </message>
    <message>
        <source>Close other tabs</source>
        <translation>關閉其他分頁</translation>
    </message>
</context>
<context>
    <name>TaskDetailInfoWidget</name>
    <message>
        <source>task :</source>
        <translation>任務：</translation>
    </message>
    <message>
        <source>connect times :</source>
        <translation>連線次數：</translation>
    </message>
    <message>
        <source>loss :</source>
        <translation>封包遺失：</translation>
    </message>
    <message>
        <source>ack :</source>
        <translation>確認時延：</translation>
    </message>
    <message>
        <source>sending :</source>
        <translation>傳送：</translation>
    </message>
    <message>
        <source>receiving :</source>
        <translation>接收：</translation>
    </message>
    <message>
        <source>sent again :</source>
        <translation>重傳：</translation>
    </message>
    <message>
        <source>carrier :</source>
        <translation>承載：</translation>
    </message>
    <message>
        <source>reason :</source>
        <translation>原因：</translation>
    </message>
    <message>
        <source>connected</source>
        <translation>已連線</translation>
    </message>
    <message>
        <source>connecting</source>
        <translation>正在連線</translation>
    </message>
    <message>
        <source>not connected</source>
        <translation>未連線</translation>
    </message>
    <message>
        <source>The network is not good, please check the local network or parameter settings</source>
        <translation>網路狀況不佳，請檢查本地網路或參數設定</translation>
    </message>
    <message>
        <source>please check your network or firewall settings</source>
        <translation>請檢查您的網路或防火牆設定</translation>
    </message>
    <message>
        <source>nothing to transfer</source>
        <translation>沒有需要傳輸的內容</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 毫秒</translation>
    </message>
</context>
<context>
    <name>TaskListFrame</name>
    <message>
        <source>Select all</source>
        <translation>全選</translation>
    </message>
    <message>
        <source>Filter...</source>
        <translation>篩選...</translation>
    </message>
    <message>
        <source>Filter by name</source>
        <translation>依名稱篩選</translation>
    </message>
    <message>
        <source>No transfer has a name like that.</source>
        <translation>沒有這個名稱的傳輸任務。</translation>
    </message>
</context>
<context>
    <name>TransferDispatch</name>
    <message>
        <source>real name authentication</source>
        <translation>實名認證</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your upload requests.If you accept, please click OK.</source>
        <translation>親愛的使用者！您尚未通過%1，上傳要求中的影片檔案將被忽略。若您接受，請按一下「確定」。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your upload folders.If you accept, please click OK.</source>
        <translation>親愛的使用者！您尚未通過%1，上傳資料夾中的影片檔案將被忽略。若您接受，請按一下「確定」。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your download requests.</source>
        <translation>親愛的使用者！您尚未通過%1，下載要求中的影片檔案將被忽略。</translation>
    </message>
    <message>
        <source>Deal user! You do not have the %1, video files will be ignored in your download folders.If you accept, please click OK.</source>
        <translation>親愛的使用者！您尚未通過%1，下載資料夾中的影片檔案將被忽略。若您接受，請按一下「確定」。</translation>
    </message>
</context>
<context>
    <name>TransferItemWidget</name>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1/%2 個檔案</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
</context>
<context>
    <name>TransferListWidget</name>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Promption</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Are you sure to cancel all transmission?</source>
        <translation>確定要取消所有傳輸嗎？</translation>
    </message>
    <message>
        <source>No uploads. Drop files on a folder of the drive to send them.</source>
        <translation>沒有上傳任務。將檔案拖到網路硬碟資料夾上即可上傳。</translation>
    </message>
    <message>
        <source>No downloads. Choose files of the drive and press Download.</source>
        <translation>沒有下載任務。在網路硬碟中選擇檔案並點選下載。</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>開始</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暫停</translation>
    </message>
    <message>
        <source>Are you sure to cancel the %1 selected transfers?</source>
        <translation>確定要取消選取的 %1 個傳輸嗎？</translation>
    </message>
</context>
<context>
    <name>TransferStatusDockWidget</name>
    <message>
        <source>Transfer Status Info</source>
        <translation>傳輸狀態資訊</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
    <message>
        <source>sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>No connection yet. One is made with the first transfer.</source>
        <translation>尚無連線。首次傳輸時將建立連線。</translation>
    </message>
</context>
<context>
    <name>TransferSummaryBar</name>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1 / %2 個檔案</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>still counting</source>
        <translation>仍在統計</translation>
    </message>
    <message>
        <source>about %1 left</source>
        <translation>約剩 %1</translation>
    </message>
    <message>
        <source>%1 files done</source>
        <translation>已完成 %1 個檔案</translation>
    </message>
    <message>
        <source>%1 paused</source>
        <translation>%1 個已暫停</translation>
    </message>
    <message>
        <source>%1 failed</source>
        <translation>%1 個失敗</translation>
    </message>
    <message>
        <source>Upload: %1</source>
        <translation>上傳：%1</translation>
    </message>
    <message>
        <source>Download: %1</source>
        <translation>下載：%1</translation>
    </message>
    <message>
        <source>Transfer Status</source>
        <translation>傳輸狀態</translation>
    </message>
</context>
<context>
    <name>TransferTaskModel</name>
    <message>
        <source>Name</source>
        <translation>名稱</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>進度</translation>
    </message>
    <message>
        <source>Speed</source>
        <translation>速度</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>狀態</translation>
    </message>
    <message>
        <source>To: %1</source>
        <translation>至：%1</translation>
    </message>
    <message>
        <source>%1 of %2 files</source>
        <translation>%1/%2 個檔案</translation>
    </message>
    <message>
        <source>%1 files failed</source>
        <translation>%1 個檔案失敗</translation>
    </message>
    <message>
        <source>Time left</source>
        <translation>剩餘時間</translation>
    </message>
</context>
<context>
    <name>TransferTexts</name>
    <message>
        <source>preparing...</source>
        <translation>準備中...</translation>
    </message>
    <message>
        <source>transferring...</source>
        <translation>傳輸中...</translation>
    </message>
    <message>
        <source>pausing...</source>
        <translation>正在暫停...</translation>
    </message>
    <message>
        <source>paused...</source>
        <translation>已暫停</translation>
    </message>
    <message>
        <source>canceling...</source>
        <translation>正在取消...</translation>
    </message>
    <message>
        <source>success...</source>
        <translation>成功</translation>
    </message>
    <message>
        <source>waiting...</source>
        <translation>等候中...</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>開始</translation>
    </message>
    <message>
        <source>Pausing</source>
        <translation>正在暫停</translation>
    </message>
    <message>
        <source>Canceling</source>
        <translation>正在取消</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>暫停</translation>
    </message>
    <message>
        <source>The connection to the transfer server failed</source>
        <translation>與傳輸伺服器的連線失敗</translation>
    </message>
    <message>
        <source>The server refused the transfer</source>
        <translation>伺服器拒絕了傳輸</translation>
    </message>
    <message>
        <source>The source was not found</source>
        <translation>找不到來源檔案</translation>
    </message>
    <message>
        <source>Not enough storage</source>
        <translation>儲存空間不足</translation>
    </message>
    <message>
        <source>The source changed during the transfer</source>
        <translation>來源檔案在傳輸過程中已變更</translation>
    </message>
    <message>
        <source>A name cannot be stored at the destination</source>
        <translation>目的地無法使用此名稱</translation>
    </message>
    <message>
        <source>The data arrived damaged</source>
        <translation>收到的資料已損毀</translation>
    </message>
    <message>
        <source>Cancelled</source>
        <translation>已取消</translation>
    </message>
    <message>
        <source>A local file cannot be read or written</source>
        <translation>無法讀取或寫入本機檔案</translation>
    </message>
    <message>
        <source>The transfer failed</source>
        <translation>傳輸失敗</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 分 %2 秒</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 分鐘</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 小時 %2 分</translation>
    </message>
    <message>
        <source>%1 d %2 h</source>
        <translation>%1 天 %2 小時</translation>
    </message>
    <message>
        <source>It is tried again by itself. If it lasts, check the network and the firewall.</source>
        <translation>系統會自動重試。若持續出現，請檢查網路和防火牆。</translation>
    </message>
    <message>
        <source>Check that you may use this folder, log in again, then retry.</source>
        <translation>請確認您有權使用此資料夾，重新登入後重試。</translation>
    </message>
    <message>
        <source>It was moved, renamed or deleted. Put it back, then retry.</source>
        <translation>來源檔案已被移動、重新命名或刪除。請放回後重試。</translation>
    </message>
    <message>
        <source>Make room at the destination; the task then goes on by itself.</source>
        <translation>請在目標位置騰出空間，任務隨後會自動繼續。</translation>
    </message>
    <message>
        <source>Another program is writing it. Retry when that is done.</source>
        <translation>其他程式正在寫入該檔案，請等其完成後重試。</translation>
    </message>
    <message>
        <source>Rename it, or choose another destination.</source>
        <translation>請重新命名，或選擇其他目標位置。</translation>
    </message>
    <message>
        <source>Retry. If it happens again, have the disk and the network checked.</source>
        <translation>請重試。若再次出現，請檢查磁碟和網路。</translation>
    </message>
    <message>
        <source>Close programs that use the file and check its permissions, then retry.</source>
        <translation>請關閉正在使用該檔案的程式並檢查權限，然後重試。</translation>
    </message>
    <message>
        <source>Whoever shared it may have ended that; ask for it to be shared again.</source>
        <translation>分享者可能已結束分享，請其重新分享。</translation>
    </message>
</context>
<context>
    <name>TransferringWidget</name>
    <message>
        <source>Tip</source>
        <translation>提示</translation>
    </message>
    <message>
        <source>Start All</source>
        <translation>全部開始</translation>
    </message>
    <message>
        <source>Pause All</source>
        <translation>全部暫停</translation>
    </message>
    <message>
        <source>Cancel All</source>
        <translation>全部取消</translation>
    </message>
    <message>
        <source>Clear All</source>
        <translation>全部清除</translation>
    </message>
    <message>
        <source>Uploading</source>
        <translation>上傳中</translation>
    </message>
    <message>
        <source>Downloading</source>
        <translation>下載中</translation>
    </message>
    <message>
        <source>Finished</source>
        <translation>已完成</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>以及其他 %1 個</translation>
    </message>
    <message>
        <source>following tasks are already running</source>
        <translation>下列工作已在進行</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>上傳</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Tasks already running</source>
        <translation>工作已在進行</translation>
    </message>
    <message>
        <source>Not enough storage</source>
        <translation>儲存空間不足</translation>
    </message>
    <message>
        <source>cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>Retry All Failed</source>
        <translation>重試全部失敗項</translation>
    </message>
</context>
<context>
    <name>UdtSettings</name>
    <message>
        <source>Upload</source>
        <translation>上傳</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>下載</translation>
    </message>
    <message>
        <source>Always ask before starting</source>
        <translation>開始前總是詢問</translation>
    </message>
    <message>
        <source>Always use the same path</source>
        <translation>總是使用同一路徑</translation>
    </message>
    <message>
        <source>Browse...</source>
        <translation>瀏覽...</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>套用</translation>
    </message>
    <message>
        <source>1Mbps = 125KB/s</source>
        <translation>1Mbps = 125KB/s</translation>
    </message>
    <message>
        <source>Target speeds hold at once, also for what is being transferred. Modes hold from the next start of a task.</source>
        <translation>目標速度立即生效，對正在傳輸的任務同樣有效。模式從任務下次開始時生效。</translation>
    </message>
    <message>
        <source>Sub-center</source>
        <translation>分中心</translation>
    </message>
    <message>
        <source>Each sub-center has settings of its own.</source>
        <translation>每個分中心有各自的設定。</translation>
    </message>
    <message>
        <source>Transfer type</source>
        <translation>傳輸類型</translation>
    </message>
    <message>
        <source>Holds from the next start of a task.</source>
        <translation>從任務下次開始時生效。</translation>
    </message>
    <message>
        <source>FileVerify</source>
        <translation>檔案校驗</translation>
    </message>
    <message>
        <source>Method. For all sub-centers, from the next start of a task.</source>
        <translation>方式。適用於所有分中心，從任務下次開始時生效。</translation>
    </message>
    <message>
        <source>Method</source>
        <translation>方式</translation>
    </message>
    <message>
        <source>Download Path</source>
        <translation>下載路徑</translation>
    </message>
    <message>
        <source>Specified a default path for downloading</source>
        <translation>指定預設下載路徑</translation>
    </message>
    <message>
        <source>Are you sure to switch transfer type?</source>
        <translation>確定要切換傳輸類型嗎？</translation>
    </message>
    <message>
        <source>To switch transfer type for ongoing jobs, please pause then resume them.</source>
        <translation>要切換正在進行的任務的傳輸類型，請先暫停再繼續。</translation>
    </message>
    <message>
        <source>Files will be transferred from BEGINNING after switching transfer type.</source>
        <translation>切換傳輸類型後，檔案將從頭開始傳輸。</translation>
    </message>
    <message>
        <source>Select target folder</source>
        <translation>選擇目標資料夾</translation>
    </message>
    <message>
        <source>The download path is no folder of this computer.</source>
        <translation>下載路徑不是本機上的資料夾。</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>已儲存。</translation>
    </message>
    <message>
        <source>The settings could not be saved and hold until the program ends.</source>
        <translation>設定未能儲存，在程式結束前有效。</translation>
    </message>
</context>
<context>
    <name>UpdateDialog</name>
    <message>
        <source>Looking for a new version...</source>
        <translation>正在檢查新版本...</translation>
    </message>
    <message>
        <source>Install now</source>
        <translation>立即安裝</translation>
    </message>
    <message>
        <source>When the program ends</source>
        <translation>結束時安裝</translation>
    </message>
    <message>
        <source>New version</source>
        <translation>新版本</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>關閉</translation>
    </message>
    <message>
        <source>The new version is being fetched: %1 of %2</source>
        <translation>正在取得新版本：%1 / %2</translation>
    </message>
    <message>
        <source>This is the newest version.</source>
        <translation>目前已是最新版本。</translation>
    </message>
    <message>
        <source>The update check failed.</source>
        <translation>檢查更新失敗。</translation>
    </message>
    <message>
        <source>The update is not signed by the maker and was refused.</source>
        <translation>更新未經開發者簽署，已拒絕。</translation>
    </message>
    <message>
        <source>There is not enough space for the update.</source>
        <translation>磁碟空間不足，無法更新。</translation>
    </message>
    <message>
        <source>Version %1 is ready to be installed.</source>
        <translation>版本 %1 已可安裝。</translation>
    </message>
    <message>
        <source>Version %1 is available. It comes through the package manager of this system.</source>
        <translation>版本 %1 已發布，請透過系統的套件管理員更新。</translation>
    </message>
</context>
<context>
    <name>UserPicker</name>
    <message>
        <source>Name of a user</source>
        <translation>使用者名稱</translation>
    </message>
    <message>
        <source>Found users</source>
        <translation>找到的使用者</translation>
    </message>
    <message>
        <source>Users that see the share</source>
        <translation>可檢視分享的使用者</translation>
    </message>
    <message>
        <source>Shared with</source>
        <translation>分享給</translation>
    </message>
    <message>
        <source>A double click adds a user, and takes one away again.</source>
        <translation>按兩下可新增使用者，再按兩下可移除。</translation>
    </message>
    <message>
        <source>No user has this in the name.</source>
        <translation>沒有名稱中包含此內容的使用者。</translation>
    </message>
</context>
<context>
    <name>UserShareDialog</name>
    <message>
        <source>Share with users</source>
        <translation>分享給使用者</translation>
    </message>
    <message>
        <source>Share</source>
        <translation>分享</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>儲存</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message>
        <source>End this share</source>
        <translation>結束此分享</translation>
    </message>
</context>
</TS>
